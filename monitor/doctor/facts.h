/**
 * What `zorvanemon doctor` knows of a machine. Plain values: gathering fills them, the checks
 * decide about them.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "client/reasons/missingreasons.h"
#include "monitor/moment.h"
#include "src/amdsdk/processortable.h"

namespace zorvane {

/** A file that ought to be there. Texts are UTF-8. */
struct FileFacts {
    std::string path;
    bool exists = false;
    /** Whether Windows takes it for a 64-bit program, library or driver. */
    bool isImage = false;
    /** "1.0.0"; empty where the file tells none. */
    std::string version;
    /** What the file says of itself; empty where it says nothing. */
    std::string description;
    /** Bytes. */
    uint64_t size = 0;
    std::optional<UtcTime> written;
};

enum class PlatformKind {
    kMissing,
    /** There is a file that Windows does not load, or without the function that is needed. */
    kUnusable,
    /** The one that never starts, made for PCs without AMD's. */
    kStandIn,
    kVendor,
};

struct PlatformFacts {
    PlatformKind kind = PlatformKind::kMissing;
    /** The file that a worker would load, or the missing one beside the library. */
    FileFacts file;
    /** Whether none lies where Windows looks, so that the host puts its own in the place. */
    bool comesWithHost = false;
};

/** A process that runs now. */
struct ProcessFacts {
    uint32_t id = 0;
    /** The program's file name. */
    std::string name;
    std::optional<uint32_t> session;
    /** Integrity level as its RID; nothing where Windows does not tell us. */
    std::optional<uint32_t> integrity;
};

enum class MutexState {
    /** No process of this session writes the log. */
    kFree,
    kInUse,
    /** A process with other rights writes it, and keeps us out. */
    kDenied,
};

/** How a worker's run came to its end, as far as its log tells. */
enum class RunEnd {
    kRunning,
    kOrderly,
    /** The log was switched off before the end, as it is after six cycles. */
    kUntold,
    /** The log stops within the first cycles: crashed, hung or ended by force. */
    kBrokenOff,
};

/** One line of the log, with its meaning where it has one. */
struct ExplainedLine {
    /** As in the file, in UTF-8. */
    std::string text;
    std::optional<Explanation> meaning;
};

struct LastRun {
    uint32_t processId = 0;
    /** As the log has it, local time without a year: "11-21 19:48:39". */
    std::string began;
    RunEnd end = RunEnd::kUntold;
    MissingReadings missing;
    std::vector<ExplainedLine> lines;
};

/** Why the CPU temperature was switched off, as the oldest run in the log that tells it has it. */
struct SwitchReason {
    std::string time;
    Explanation reason;
};

struct LogFacts {
    std::string folder;
    bool folderExists = false;
    bool folderWritable = false;
    FileFacts file;
    bool fileIsFolder = false;
    /** Whether the file that keeps the log on lies beside it. */
    bool keptOn = false;
    MutexState mutex = MutexState::kFree;
    /** Processes that have the log open. */
    std::vector<ProcessFacts> writers;
    std::optional<LastRun> lastRun;
    std::optional<SwitchReason> switchReason;
};

/** A display adapter, as Windows lists it. */
struct AdapterFacts {
    std::string name;
    bool isNvidia = false;
    /** The service of its driver; that of NVIDIA's is "nvlddmkm". */
    std::string service;
    /** Device Manager's problem code; 0 for a device that works. */
    uint32_t problem = 0;
};

struct GpuFacts {
    /** Nothing where Windows gives no list. */
    std::optional<std::vector<AdapterFacts>> adapters;
    /** The file that the library loads. */
    FileFacts fixedNvml;
    /** The one that today's drivers install. */
    FileFacts systemNvml;
    /** Whether the host program lends the system's file to the library. */
    bool hostLends = false;
};

/** Of this process; a worker that it starts has the same. */
struct RightsFacts {
    /** What the library asks for. */
    bool administrator = false;
    bool elevated = false;
    std::optional<uint32_t> integrity;
    uint32_t session = 0;
};

struct SwitchFacts {
    std::string path;
    bool on = true;
    /** When the file was last written to, if there is one. */
    std::optional<UtcTime> written;
};

struct WindowsFacts {
    /** The library's own answer. */
    bool supported = false;
    bool is64Bit = false;
    bool isServer = false;
    uint32_t major = 0;
    uint32_t minor = 0;
    uint32_t build = 0;
    /** "Windows 10 Pro 22H2"; may be empty. */
    std::string edition;
};

struct ProcessorFacts {
    /** Of CPUID: 12 characters, "AuthenticAMD". */
    std::string vendor;
    std::string name;
    int32_t packageType = 0;
    uint32_t signature = 0;
    /** The library's table. */
    ProcessorSupport support = ProcessorSupport::kNo;
};

struct CpuFacts {
    ProcessorFacts processor;
    /** Status of Virtualization-Based Security: 0 off, 1 configured, 2 running; nothing where the
     * question fails, which the library takes for off. */
    std::optional<uint32_t> vbs;
    /** Whether Windows had not answered in time; a worker waits for it. */
    bool vbsIsLate = false;
    /** The product's name in the firmware, and whether the library leaves it alone. */
    std::optional<std::string> product;
    bool productSkipped = false;
};

enum class SignatureState {
    kValid,
    kUnsigned,
    /** Changed after it was signed, or signed by somebody whom Windows does not trust. */
    kInvalid,
    /** Windows could not be asked. */
    kUnknown,
};

struct SignatureFacts {
    SignatureState state = SignatureState::kUnknown;
    /** Windows' code, for the reader. */
    uint32_t code = 0;
};

struct ServiceFacts {
    /** Why nothing is known of it; 0 if something is. A service that is not installed is known. */
    uint32_t error = 0;
    bool installed = false;
    /** SERVICE_RUNNING and its like. */
    uint32_t state = 0;
    bool markedForDelete = false;
    /** The registered driver file; empty where Windows does not tell. */
    std::string imagePath;
    /** Running programs that are known to hold it or the driver's device. */
    std::vector<ProcessFacts> holders;
};

struct DriverFacts {
    FileFacts file;
    SignatureFacts signature;
    ServiceFacts service;
    /** Memory integrity; nothing where Windows does not tell. */
    std::optional<bool> memoryIntegrity;
    /** Windows takes unsigned drivers for tests. */
    bool testSigning = false;
    /** The vulnerable driver blocklist; nothing where the system's default holds. */
    std::optional<bool> blocklist;
};

/** What NVML itself says of one GPU. */
struct ProbedGpu {
    uint32_t index = 0;
    std::string name;
    std::string serial;
    /** A call and its code. */
    struct Answer {
        std::string function;
        int32_t code = 0;
    };
    std::vector<Answer> answers;
};

/** What came of asking NVML in a process of its own. */
struct ProbeFacts {
    enum class Outcome {
        kAnswered,
        /** NVML did not load. */
        kNotLoaded,
        kTimedOut,
        kCrashed,
        /** The process could not be started, or said something else than was asked. */
        kFailed,
    };
    Outcome outcome = Outcome::kFailed;
    /** The asked file. */
    std::string path;
    /** Of the load, the start or the process, by the outcome. */
    uint32_t error = 0;
    /** Of nvmlInit and nvmlDeviceGetCount; nothing where NVML lacks them or was not asked. */
    std::optional<int32_t> init;
    std::optional<int32_t> countCode;
    uint32_t count = 0;
    std::vector<ProbedGpu> gpus;
    /** The last call that was begun: what hung or crashed. */
    std::string lastCall;
};

struct MachineFacts {
    /** The tool's own version. */
    std::string toolVersion;
    std::string computer;
    std::string user;
    UtcTime now{};
    FileFacts monitor;
    FileFacts host;
    FileFacts library;
    PlatformFacts platform;
    LogFacts log;
    GpuFacts gpu;
    RightsFacts rights;
    /** Worker processes that run now. */
    std::vector<ProcessFacts> workers;
    SwitchFacts amdSwitch;
    WindowsFacts windows;
    CpuFacts cpu;
    DriverFacts driver;
    /** Only where it was asked for. */
    std::optional<ProbeFacts> probe;
};

}  // namespace zorvane
