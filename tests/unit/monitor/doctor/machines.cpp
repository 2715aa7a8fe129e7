#include "tests/unit/monitor/doctor/machines.h"

#include <windows.h>

namespace zorvane {
namespace {

FileFacts File(const std::string& path, const std::string& version) {
    FileFacts file;
    file.path = path;
    file.exists = true;
    file.isImage = true;
    file.version = version;
    file.size = 1000;
    return file;
}

void InstallDriver(DriverFacts& driver) {
    driver.file = File("C:\\Zorvane\\AMDRyzenMasterDriver.sys", "1.5.0");
    driver.signature = {SignatureState::kValid, 0};
    driver.memoryIntegrity = false;
    driver.blocklist = false;
}

void InstallProcessor(CpuFacts& cpu) {
    cpu.processor = {"AuthenticAMD", "AMD Ryzen 9 3900X 12-Core Processor", 2, 0x870F10,
                     ProcessorSupport::kYes};
    cpu.vbs = 0;
    cpu.product = "System Product Name";
}

}  // namespace

MachineFacts HealthyMachine() {
    MachineFacts facts;
    facts.toolVersion = "1.0.0";
    facts.computer = "lab-7";
    facts.user = "miriam";
    facts.now = UtcTime(std::chrono::hours(24 * 365 * 50));
    facts.monitor = File("C:\\Zorvane\\zorvanemon.exe", "1.0.0");
    facts.host = File("C:\\Zorvane\\zorvanehost.exe", "1.0.0");
    facts.library = File("C:\\Zorvane\\Zorvane.dll", "1.0.0");
    facts.platform = {PlatformKind::kVendor, File("C:\\Zorvane\\Platform.dll", "2.1.0"), false};
    facts.log.folder = "C:\\Zorvane\\Log";
    facts.log.folderExists = true;
    facts.log.folderWritable = true;
    facts.log.file.path = "C:\\Zorvane\\Log\\Qorvella_HardwareDll.log";
    facts.gpu.adapters = {{"NVIDIA GeForce RTX 3080", true, "nvlddmkm", 0}};
    facts.gpu.fixedNvml =
        File("C:\\Program Files\\NVIDIA Corporation\\NVSMI\\Nvml.dll", "8.17.15.5186");
    facts.gpu.systemNvml = File("C:\\Windows\\system32\\nvml.dll", "8.17.15.5186");
    facts.gpu.hostLends = true;
    facts.rights = {true, true, uint32_t{SECURITY_MANDATORY_HIGH_RID}, 1};
    facts.amdSwitch.path = "C:\\Zorvane\\Qorvella.set";
    facts.windows = {true, true, false, 10, 0, 19045, "Windows 10 Pro 22H2"};
    InstallProcessor(facts.cpu);
    InstallDriver(facts.driver);
    return facts;
}

Explanation Meaning(const std::string& id, const std::string& text, const std::string& remedy) {
    Explanation explanation;
    explanation.id = id;
    explanation.text = text;
    explanation.remedy = remedy;
    return explanation;
}

}  // namespace zorvane
