#include "client/reasons/reason.h"

namespace zorvane {
namespace {

// Short, because a row names both.
constexpr Concern kCpu = Concern::kCpu;
constexpr Concern kGpu = Concern::kGpu;
constexpr Concern kDriver = Concern::kDriver;
constexpr Concern kWorker = Concern::kWorker;
constexpr Concern kLog = Concern::kLog;
constexpr ReasonKind kHealthy = ReasonKind::kHealthy;
constexpr ReasonKind kReading = ReasonKind::kReading;
constexpr ReasonKind kInformational = ReasonKind::kInformational;
constexpr ReasonKind kConsequence = ReasonKind::kConsequence;
constexpr ReasonKind kLikelyCause = ReasonKind::kLikelyCause;
constexpr ReasonKind kCause = ReasonKind::kCause;
constexpr CodeKind kNoCode = CodeKind::kNone;

// What the remedies of several lines have in common.
constexpr const char* kReinstallNvidia = "Install NVIDIA's driver again and restart the PC.";
constexpr const char* kReinstallAmd =
    "Install AMD Ryzen Master again, and take Platform.dll and AMDRyzenMasterDriver.sys from the "
    "same version.";
constexpr const char* kBlockedDriver =
    "Put AMDRyzenMasterDriver.sys beside the host program, and make sure that no security "
    "software blocks it.";

constexpr Reason kReasons[] = {
    // The log file.
    {kMarkerSource, "-------log start", "log.start", kLog, kHealthy, kNoCode, "",
     "A worker has loaded the library.", ""},
    {kMarkerSource, "-------log off", "log.off", kLog, kHealthy, kNoCode, "",
     "Logging is switched off after the worker's first six cycles; this line repeats once a cycle.",
     "To keep the log on, make an empty file Qorvella_HardwareDll.log.on beside it and start the "
     "worker again."},
    {kMarkerSource, "-------log full", "log.full", kLog, kInformational, kNoCode, "",
     "The file has grown past 100 MiB, so this worker stops logging.",
     "Delete Qorvella_HardwareDll.log.on if it is there, end all workers and start one: the "
     "first to start replaces the file."},
    {kMarkerSource, "-------log lev change", "log.level", kLog, kInformational, kNoCode, "",
     "The level of the log was changed; this version of the worker never does that.", ""},
    {kMarkerSource, "-------log reset", "log.reset", kLog, kInformational, kNoCode, "",
     "The file was replaced by an empty one; this version of the worker never does that.", ""},
    {kMarkerSource, "-------log end", "log.end", kLog, kInformational, kNoCode, "",
     "The log was closed; this version of the worker never closes it, the file just stops.", ""},
    {kDebuggerSource, "open %s error. [%d]\r\n", "log.open", kLog, kInformational, CodeKind::kErrno,
     "", "The log file cannot be opened, so this worker writes no log.", ""},
    {kDebuggerSource, "CreateMutex failed with %u\n", "log.mutex", kLog, kInformational,
     CodeKind::kWindows, "", "The mutex that guards the log file cannot be created.",
     "End the workers of other users, or start this one with the same rights as theirs."},
    {kDebuggerSource, "Lock failed\n", "log.lock", kLog, kInformational, kNoCode, "",
     "The mutex that guards the log file is held by another process, or cannot be opened; in the "
     "second case this worker writes no log.",
     "If there is no log, end the workers that run with other rights and start this one again."},

    // The worker's frame.
    {"msgloopprocess", "cmd:%s", "worker.command_line", kWorker, kHealthy, kNoCode, "",
     "The command line that the worker was started with.", ""},
    {"msgloopprocess", "OnCreate failed, process quit.", "worker.thread", kWorker, kCause, kNoCode,
     "the worker could not start",
     "Windows could not create the worker's thread, so the worker ends.",
     "Close programs or restart the PC: Windows is out of memory."},
    {"msgloopthread", "Create MsgLoopWnd failed.", "worker.window", kWorker, kCause, kNoCode,
     "the worker could not start",
     "Windows could not create the worker's hidden window, so the worker ends.",
     "Start the worker in a session with a desktop; if it has one, sign out and in again: the "
     "desktop heap is exhausted."},
    {"msgloopprocess", "Send msg to stub wnd failed, msg=%d", "worker.send", kWorker,
     kInformational, CodeKind::kValue, "",
     "The stub's window was gone, so this message was not sent.", ""},
    {"zorvaneprocess", "CZorvaneProcess::Init", "worker.tasks", kWorker, kHealthy, kNoCode, "",
     "The worker finds out what it can read on this PC.", ""},
    {"zorvaneprocess", "task erro. size:%d", "worker.task_ended", kWorker, kInformational, kNoCode,
     "",
     "A task has ended; the number is how many are left, and at 0 the worker ends. Normal during "
     "a stop.",
     ""},
    {"msgloopprocess", "OnCopyData StopLoop", "worker.stop", kWorker, kHealthy, kNoCode, "",
     "The stub, or the host in its place, has asked the worker to end.", ""},
    {"msgloopprocess", "Stub do NOT exists, process quit.", "worker.stub_gone", kWorker,
     kInformational, kNoCode, "", "The stub's window no longer exists, so the worker ends.", ""},
    {"zorvaneprocess", "ZorvaneProcess Uninit. size:%d", "worker.tasks_end", kWorker, kHealthy,
     kNoCode, "", "The worker is ending and releases its tasks; the number is how many.", ""},
    {"msgloopprocess", "WorkThreadFun process quit.", "worker.work_end", kWorker, kHealthy, kNoCode,
     "", "The worker's tasks have ended.", ""},
    {"msgloopprocess", "CMsgLoopProcess OnClose.", "worker.close", kWorker, kHealthy, kNoCode, "",
     "The worker's window is closing; the worker waits for its tasks.", ""},
    {"msgloopthread", "CMsgLoopThread quit msg loop.", "worker.end", kWorker, kHealthy, kNoCode, "",
     "The last line of a worker that ended in order with its log still on.", ""},

    // NVIDIA GPUs.
    {"nvmlinfotask", "CNvmlInfoTask::Init file not exist. %s", "nvml.path", kGpu, kCause, kNoCode,
     "no NVML at its fixed path",
     "There is no %ProgramW6432%\\NVIDIA Corporation\\NVSMI\\Nvml.dll, and the library looks "
     "nowhere else.",
     "Install NVIDIA's driver. Today's drivers put nvml.dll into the system folder only: copy it "
     "from there, and again after every update of the driver."},
    {"dynamicnvml", "NVML DLL is not installed or not found at the default path.", "nvml.load",
     kGpu, kCause, kNoCode, "Nvml.dll does not load",
     "Windows cannot load NVML's library: it is damaged, not a 64-bit library, or needs another "
     "one that is missing.",
     kReinstallNvidia},
    {"dynamicnvml", "nvmlInit func failed", "nvml.functions", kGpu, kCause, kNoCode,
     "Nvml.dll lacks functions",
     "This Nvml.dll lacks the functions that start NVML or count the GPUs.", kReinstallNvidia},
    {"dynamicnvml", "nvmlInit failed, ret = %d", "nvml.init", kGpu, kCause, CodeKind::kNvml,
     "NVML does not start", "NVML does not start.", kReinstallNvidia},
    {"dynamicnvml", "nvmlDeviceGetCount failed, ret = %d", "nvml.count_failed", kGpu, kCause,
     CodeKind::kNvml, "NVML does not count the GPUs", "NVML has started and cannot count the GPUs.",
     kReinstallNvidia},
    {"dynamicnvml", "nvmlDeviceGetCount = %d", "nvml.count", kGpu, kHealthy, CodeKind::kValue, "",
     "NVML has started; the number is how many GPUs it reports.", ""},
    {"zorvaneprocess", "add NvmlInfoTask", "gpu.added", kGpu, kReading, kNoCode, "",
     "The GPUs will be reported.", ""},
    {"zorvaneprocess", "add NvmlInfoTask failed", "gpu.not_added", kGpu, kConsequence, kNoCode,
     "NVML cannot be used", "The GPUs will not be reported; the log says why before this line.",
     ""},
    {"nvmlinfotask", "NVML gpu count:%d", "gpu.cycle", kGpu, kHealthy, kNoCode, "",
     "A cycle begins; the number is how many GPUs it reads.", ""},
    {"nvmlinfotask", "NVML driver ver:%s", "gpu.driver_version", kGpu, kHealthy, kNoCode, "",
     "The version of NVIDIA's driver; empty if NVML does not report it.", ""},

    // AMD CPU temperature.
    {"zorvaneprocess", "sdk_flag is off...", "amd.switched_off", kCpu, kCause, kNoCode,
     "switched off after an earlier failure",
     "The CPU temperature is switched off, because an earlier run could not read it.",
     "Run zorvanemon reset (or set sdk_flag=1 in section [cpu_kernel] of Qorvella.set beside the "
     "host program); if it is switched off again, the log of that run says why."},
    {"amdsdktask", "User is not admin...", "amd.not_admin", kCpu, kCause, kNoCode,
     "needs administrator rights",
     "The CPU temperature needs administrator rights, and this worker has none.",
     "Start the program as administrator."},
    {"utility", "IsSupportedOS not workstation", "amd.windows_server", kCpu, kCause, kNoCode,
     "not on Windows Server", "The CPU temperature is not read on a server edition of Windows.",
     ""},
    {"utility", "IsSupportedOS not x64", "amd.windows_32bit", kCpu, kCause, kNoCode,
     "needs 64-bit Windows", "The CPU temperature is read on 64-bit Windows only.", ""},
    {"utility", "IsSupportedOS not win10", "amd.windows_version", kCpu, kCause, kNoCode,
     "needs Windows 10 or 11", "The CPU temperature is read on Windows 10 and 11 only.", ""},
    {"amdsdktask", "requires OS version greater than or equals to Windows 10.", "amd.windows", kCpu,
     kConsequence, kNoCode, "this Windows is not supported",
     "This Windows is not supported; the log says in which way before this line.", ""},
    {"amdsdktask", "No AMD Processor is found!", "amd.vendor", kCpu, kCause, kNoCode,
     "not an AMD processor", "The processor is not one of AMD's.", ""},
    {"amdsdktask", "pkgType:%d, CPUID:%lu", "amd.signature", kCpu, kHealthy, kNoCode, "",
     "The processor's package type and CPUID signature, in decimal.", ""},
    {"amdsdktask", "Not Supported Processor!", "amd.processor", kCpu, kCause, kNoCode,
     "this processor is not supported",
     "The library does not know this processor; its signature is in the log, behind pkgType.", ""},
    {"amdsdktask", "Please disable VBS and re-start brevano.", "amd.vbs", kCpu, kCause, kNoCode,
     "Virtualization-Based Security is on",
     "On this generation of processors the temperature is not read while Virtualization-Based "
     "Security is on.",
     "If you can do without its protection, turn off memory integrity (Windows Security, Device "
     "security, Core isolation) and restart the PC."},
    {"amdsdktask", "product_name:%s", "amd.product", kCpu, kHealthy, kNoCode, "",
     "The product name in this PC's firmware.", ""},
    {"amdsdktask", "product skip", "amd.product_skip", kCpu, kCause, kNoCode, "not on this product",
     "AMD's library is never started on this product, a Surface Laptop 3.", ""},
    {"amdsdktask", "Platform init failed.", "amd.platform", kCpu, kLikelyCause, kNoCode,
     "AMD's library does not start",
     "AMD's Platform.dll does not start: it is the stand-in, does not match its driver's version, "
     "or is in use by another program.",
     kReinstallAmd},
    {"amdsdktask", "cpu name:%s", "amd.cpu_name", kCpu, kHealthy, kNoCode, "",
     "AMD's library has started; this is its name for the processor.", ""},
    {"zorvaneprocess", "add AmdSdkTask", "amd.added", kCpu, kReading, kNoCode, "",
     "The CPU temperature will be read.", ""},
    {"zorvaneprocess", "add AmdSdkTask failed", "amd.not_added", kCpu, kConsequence, kNoCode,
     "AMD's library cannot be used",
     "The CPU temperature is not read in this run, and the worker writes sdk_flag=0 into "
     "Qorvella.set, so not in later ones either; the log says why before this line.",
     "Once the cause is mended, run zorvanemon reset."},
    {"amdsdktask", "GetPMTableData obj failed.", "amd.pm_table_device", kCpu, kLikelyCause, kNoCode,
     "AMD's library finds no processor", "AMD's library has no CPU device.", kReinstallAmd},
    {"amdsdktask", "GetPMTableData %s", "amd.pm_table", kCpu, kLikelyCause, kNoCode,
     "AMD's library cannot read it",
     "AMD's library could not read its PM table; the text is its status. At the first reading the "
     "worker then tries GetCurrentTemperature.",
     ""},
    {"amdsdktask", "GetCurrentTemperature obj failed.", "amd.temperature_device", kCpu, kCause,
     kNoCode, "AMD's library finds no processor", "AMD's library has no CPU device.",
     kReinstallAmd},
    {"amdsdktask", "GetCurrentTemperature %s", "amd.temperature_failed", kCpu, kCause, kNoCode,
     "AMD's library cannot read it",
     "AMD's library could not read the temperature; the text is its status.", kReinstallAmd},
    {"amdsdktask", "GetCurrentTemperature %.2f Celsius", "amd.temperature", kCpu, kReading, kNoCode,
     "",
     "A reading. One outside 5 to 120 degrees is sent all the same, but switches the CPU "
     "temperature off for later runs.",
     ""},
    {"amdsdktask", "temp is 0", "amd.no_reading", kCpu, kConsequence, kNoCode,
     "AMD's library gives no temperature",
     "AMD's library gave no temperature, so the task ends and is switched off for later runs; the "
     "log may say why before this line.",
     "Run zorvanemon reset to try again."},

    // AMD's driver and its service.
    {"utility", "OpenService error. %d", "driver.open", kDriver, kInformational, CodeKind::kWindows,
     "", "The driver's service cannot be opened; the worker tries to install it.", ""},
    {"utility", "service is not running. %d", "driver.state", kDriver, kInformational,
     CodeKind::kServiceState, "",
     "The driver's service exists but is not running; it is deleted and installed anew.", ""},
    {"amdsdktask", "QueryDrvService failed. %s", "driver.query", kDriver, kHealthy, kNoCode, "",
     "The driver is not running yet, so the worker installs it.", ""},
    {"utility", "OpenSCManager failed. %d", "driver.manager", kDriver, kCause, CodeKind::kWindows,
     "no access to the service manager",
     "The service manager cannot be opened, so the driver cannot be installed.",
     "Start the program as administrator."},
    {"utility", "%s CreateService error: %d", "driver.create", kDriver, kCause, CodeKind::kWindows,
     "AMD's driver cannot be installed", "The driver's service cannot be created.", kBlockedDriver},
    {"utility", "%s OpenService failed. %d, %d", "driver.reopen", kDriver, kCause,
     CodeKind::kWindows, "AMD's driver cannot be installed",
     "The driver's service exists but cannot be opened; the second number says why.",
     "Restart the PC."},
    {"utility", "%s DeleteService failed. %d", "driver.recreate_delete", kDriver, kCause,
     CodeKind::kWindows, "AMD's driver cannot be replaced",
     "The service refers to a driver file that no longer exists, and cannot be deleted.",
     "Restart the PC."},
    {"utility", "%s CreateService failed. %d", "driver.recreate", kDriver, kCause,
     CodeKind::kWindows, "AMD's driver cannot be replaced",
     "The service referred to a driver file that no longer exists; it was deleted and cannot be "
     "created anew.",
     "Restart the PC."},
    {"utility", "%s StartService failed. %d", "driver.restart", kDriver, kCause, CodeKind::kWindows,
     "AMD's driver does not start", "The driver's service was created anew and does not start.",
     kBlockedDriver},
    {"utility", "%s Service not running. %d", "driver.service", kDriver, kCause, CodeKind::kWindows,
     "AMD's driver does not start", "The driver's service does not start.", kBlockedDriver},
    {"utility", "%s CreateFile again failed. %d", "driver.device", kDriver, kCause,
     CodeKind::kWindows, "AMD's driver does not answer",
     "The driver is running, but its device cannot be opened.",
     "End other programs that monitor the processor, or restart the PC."},
    {"utility", "InstallDriver success. %s", "driver.installed", kDriver, kHealthy, kNoCode, "",
     "The driver was installed and is running.", ""},
    {"amdsdktask", "Unable to install driver %s", "driver.not_installed", kDriver, kConsequence,
     kNoCode, "AMD's driver is not running",
     "The driver is not running; the log says why before this line. AMD's library is tried all "
     "the same.",
     ""},
    {"utility", "DeleteService %s success.", "driver.deleted", kDriver, kHealthy, kNoCode, "",
     "The driver's service was deleted, as it is at the end of every run without skip_delete.", ""},
    {"utility", "DeleteDriver OpenSCManager failed. %d", "driver.delete_manager", kDriver,
     kInformational, CodeKind::kWindows, "",
     "The service manager cannot be opened, so the driver's service is not deleted.", ""},
    {"utility", "DeleteDriver OpenService failed. %d", "driver.delete_open", kDriver,
     kInformational, CodeKind::kWindows, "",
     "The driver's service cannot be opened, so it is not deleted.",
     "As administrator: sc stop AMDRyzenMasterDriverV15, then sc delete AMDRyzenMasterDriverV15."},
    {"utility", "DeleteDriver DeleteService failed. %d", "driver.delete_failed", kDriver,
     kInformational, CodeKind::kWindows, "", "The driver's service cannot be deleted.",
     "As administrator: sc stop AMDRyzenMasterDriverV15, then sc delete AMDRyzenMasterDriverV15."},
};

constexpr SpecialCase kSpecialCases[] = {
    {"worker.send", 3343, kCause, "there is no stub window",
     "The worker found no stub window for its first message, so it ends within five seconds.",
     "Pass the window's handle to --wnd in decimal, and keep the window until the worker has "
     "ended."},
    {"nvml.count", 0, kCause, "NVML sees none", "NVML works and sees no GPU.",
     "Check in Device Manager that the card is present, enabled and without a warning sign."},
    {"driver.open", 1060, kHealthy, "",
     "The driver's service is not installed yet, as at every first start; the worker installs it.",
     ""},
    {"driver.create", 1072, kInformational, "",
     "The driver's service is marked for deletion; the worker tries to start it as it is.", ""},
    {"driver.create", 1073, kInformational, "",
     "The driver's service exists already; the worker starts it.", ""},
    {"driver.reopen", 1060, kCause, "AMD's driver cannot be installed",
     "The driver's service was marked for deletion, and has gone meanwhile.",
     "Start the worker again."},
    {"driver.service", 6, kConsequence, "AMD's driver does not start",
     "The driver's service could not be created; the log says why before this line.", ""},
    {"driver.delete_manager", 5, kInformational, "",
     "Without administrator rights this run has installed no driver service, so there is none to "
     "delete.",
     ""},
    {"driver.delete_open", 1060, kInformational, "", "There was no driver service to delete.", ""},
    {"driver.delete_failed", 1072, kInformational, "",
     "The driver's service is marked for deletion already; it goes when the last program closes "
     "it.",
     ""},
};

constexpr CodeMeaning kCodeMeanings[] = {
    {CodeKind::kWindows, 2, "the file is not there",
     "Put AMDRyzenMasterDriver.sys beside the host program."},
    {CodeKind::kWindows, 3, "the folder is not there", ""},
    {CodeKind::kWindows, 5, "access is denied", "Start the program as administrator."},
    {CodeKind::kWindows, 6, "there is no service to work on, because it could not be created", ""},
    {CodeKind::kWindows, 31, "the driver failed to start",
     "Install AMD's chipset driver and restart the PC."},
    {CodeKind::kWindows, 32, "another program uses the file",
     "End other programs that monitor the processor."},
    {CodeKind::kWindows, 193, "the file is not a program for this Windows",
     "The file is damaged: replace AMDRyzenMasterDriver.sys with the one from AMD's installation."},
    {CodeKind::kWindows, 577, "Windows cannot verify the file's digital signature",
     "Replace AMDRyzenMasterDriver.sys with the one from AMD's installation, which is signed."},
    {CodeKind::kWindows, 1056, "the service runs already", ""},
    {CodeKind::kWindows, 1058, "the service is disabled",
     "As administrator: sc config AMDRyzenMasterDriverV15 start= demand."},
    {CodeKind::kWindows, 1060, "there is no such service", ""},
    {CodeKind::kWindows, 1072, "the service is marked for deletion",
     "Close Services, Device Manager and other programs that hold the service, or restart the PC."},
    {CodeKind::kWindows, 1073, "the service exists already", ""},
    {CodeKind::kWindows, 1275, "Windows blocks this driver",
     "Use a newer AMDRyzenMasterDriver.sys: memory integrity and the vulnerable driver blocklist "
     "refuse old ones."},
    {CodeKind::kWindows, 4551, "an application control policy blocks the file",
     "Ask this PC's administrator to allow the driver."},
    {CodeKind::kNvml, 3, "not supported", ""},
    {CodeKind::kNvml, 4, "no permission",
     "Start the program as administrator, or as a user who may use the GPU."},
    {CodeKind::kNvml, 8, "a GPU has no external power", "Connect the card's power cables."},
    {CodeKind::kNvml, 9, "NVIDIA's driver is not loaded",
     "Check the card in Device Manager; restart the PC after a driver update."},
    {CodeKind::kNvml, 10, "a GPU did not answer in time", "Restart the PC."},
    {CodeKind::kNvml, 12, "a library of NVIDIA's driver is missing", ""},
    {CodeKind::kNvml, 13, "the library lacks a function",
     "Delete copies of nvml.dll from an older driver."},
    {CodeKind::kNvml, 14, "the card's own data (infoROM) is damaged", "Have the card checked."},
    {CodeKind::kNvml, 15, "a GPU has fallen off the bus",
     "Restart the PC; if it happens again, check the card's seat, power and temperature."},
    {CodeKind::kNvml, 16, "a GPU must be reset", "Restart the PC."},
    {CodeKind::kNvml, 17, "Windows blocks access to the GPU", ""},
    {CodeKind::kNvml, 18, "Nvml.dll and the loaded driver are of different versions",
     "Restart the PC after a driver update, and renew copies of nvml.dll."},
    {CodeKind::kNvml, 20, "not enough memory", "Close programs."},
    {CodeKind::kNvml, 999, "unknown error", "Restart the PC."},
    {CodeKind::kServiceState, 1, "stopped", ""},
    {CodeKind::kServiceState, 2, "starting", ""},
    {CodeKind::kServiceState, 3, "stopping", ""},
    {CodeKind::kServiceState, 5, "about to continue", ""},
    {CodeKind::kServiceState, 6, "about to pause", ""},
    {CodeKind::kServiceState, 7, "paused", ""},
    {CodeKind::kErrno, 2, "there is no folder for it",
     "Make the folder Log beside Zorvane.dll: the worker makes no folders."},
    {CodeKind::kErrno, 13, "access is denied, or a folder has its name",
     "Let the user who starts the worker write into the folder Log beside Zorvane.dll, and "
     "remove a folder of the file's name."},
    {CodeKind::kErrno, 24, "too many open files", "Start the worker again."},
    {CodeKind::kErrno, 28, "the disk is full", "Make room on the disk."},
};

}  // namespace

CRows<Reason> Reasons() { return CRows<Reason>(kReasons); }

CRows<CodeMeaning> CodeMeanings() { return CRows<CodeMeaning>(kCodeMeanings); }

CRows<SpecialCase> SpecialCases() { return CRows<SpecialCase>(kSpecialCases); }

const char* CodePrefix(CodeKind kind) {
    switch (kind) {
        case CodeKind::kWindows:
        case CodeKind::kErrno:
            return "error ";
        case CodeKind::kNvml:
            return "NVML code ";
        case CodeKind::kServiceState:
            return "state ";
        default:
            return "";
    }
}

}  // namespace zorvane
