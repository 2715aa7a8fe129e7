// Asking Windows, on machines that a scenario or a replaced function makes. A process of its own
// each: the library's functions remember what Windows answered.
#include "monitor/doctor/gather.h"

#include <windows.h>

#include <cfgmgr32.h>
#include <setupapi.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "base/handle.h"
#include "sim/machine/simulatemachine.h"
#include "sim/scenario/parsejson.h"
#include "src/log/logfile.h"
#include "tests/support/buildfolder.h"
#include "tests/support/fakecpuid.h"
#include "tests/support/importpatch.h"
#include "tests/support/logfile.h"
#include "tests/support/tempfolder.h"

namespace zorvane {

using testing::Contains;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr std::chrono::minutes kPatience(1);

class GatherTest : public testing::Test {
  protected:
    static void Simulate(const std::string& json) {
        static Machine s_machine;
        const nlohmann::json document = ParseJson(json);
        s_machine = ReadMachine(CJsonPlace(document));
        SimulateMachine(nullptr, s_machine);
    }

    // A file of the build beside the host and the library.
    void Put(const std::wstring& folder, const std::wstring& name) const {
        std::filesystem::copy_file(std::filesystem::path(BuildFolder(folder)) / name,
                                   std::filesystem::path(m_folder.Path()) / name);
    }

    void Write(const std::wstring& name, const std::string& bytes) const {
        WriteFileBytes(m_folder.PathOf(name), bytes);
    }

    void MakeFolder(const std::wstring& name) const {
        std::filesystem::create_directory(m_folder.PathOf(name));
    }

    DoctorTarget Target() const {
        return {m_folder.PathOf(L"zorvanehost.exe"), m_folder.PathOf(L"Zorvane.dll")};
    }

    std::wstring LogPath() const { return m_folder.PathOf(ZorLog::kLogFile); }

    CTempFolder m_folder;
};

TEST_F(GatherTest, FilesHaveTheirVersions) {
    Put(L"bin", L"Zorvane.dll");
    const FileFacts library = GatherFile(Target().library);
    EXPECT_TRUE(library.exists);
    EXPECT_TRUE(library.isImage);
    EXPECT_EQ(library.version, ZORVANE_VERSION);
    EXPECT_EQ(library.size, std::filesystem::file_size(Target().library));
    EXPECT_FALSE(GatherFile(Target().host).exists);
    Write(L"text.dll", "no library");
    EXPECT_TRUE(GatherFile(m_folder.PathOf(L"text.dll")).exists);
    EXPECT_FALSE(GatherFile(m_folder.PathOf(L"text.dll")).isImage);
}

TEST_F(GatherTest, PlatformIsTheVendorsOrTheStandInOrUnusableOrMissing) {
    EXPECT_EQ(GatherPlatform(Target()).kind, PlatformKind::kMissing);
    Put(L"sim", L"Platform.dll");
    EXPECT_EQ(GatherPlatform(Target()).kind, PlatformKind::kVendor);
    std::filesystem::remove(m_folder.PathOf(L"Platform.dll"));
    Put(L"bin\\platform-standin", L"Platform.dll");
    EXPECT_EQ(GatherPlatform(Target()).kind, PlatformKind::kStandIn);
    std::filesystem::remove(m_folder.PathOf(L"Platform.dll"));
    // A library without the function.
    std::filesystem::copy_file(BuildFolder(L"bin") + L"\\Zorvane.dll",
                               m_folder.PathOf(L"Platform.dll"));
    EXPECT_EQ(GatherPlatform(Target()).kind, PlatformKind::kUnusable);
}

TEST_F(GatherTest, HostBringsTheStandInWhereThereIsNoPlatform) {
    MakeFolder(L"platform-standin");
    std::filesystem::copy_file(BuildFolder(L"bin\\platform-standin") + L"\\Platform.dll",
                               m_folder.PathOf(L"platform-standin\\Platform.dll"));
    const PlatformFacts platform = GatherPlatform(Target());
    EXPECT_EQ(platform.kind, PlatformKind::kStandIn);
    EXPECT_TRUE(platform.comesWithHost);
    Put(L"sim", L"Platform.dll");
    EXPECT_FALSE(GatherPlatform(Target()).comesWithHost);
}

TEST_F(GatherTest, LogFolderMayBeMissingOrClosed) {
    EXPECT_FALSE(GatherLog(Target()).folderExists);
    MakeFolder(L"Log");
    EXPECT_TRUE(GatherLog(Target()).folderExists);
    EXPECT_TRUE(GatherLog(Target()).folderWritable);
    PATCH_IMPORT(closed, CreateFileW, [&](auto path, auto access, auto... rest) -> HANDLE {
        if (access == FILE_ADD_FILE) {
            SetLastError(ERROR_ACCESS_DENIED);
            return INVALID_HANDLE_VALUE;
        }
        return closed.Original(path, access, rest...);
    });
    EXPECT_FALSE(GatherLog(Target()).folderWritable);
}

TEST_F(GatherTest, LogMayBeAFolderAndKeptOn) {
    std::filesystem::create_directories(LogPath());
    WriteFileBytes(LogPath() + L".on", "");
    const LogFacts log = GatherLog(Target());
    EXPECT_TRUE(log.fileIsFolder);
    EXPECT_FALSE(log.file.exists);
    EXPECT_TRUE(log.keptOn);
}

TEST_F(GatherTest, LogTellsOfTheLastRun) {
    MakeFolder(L"Log");
    WriteFileBytes(LogPath(), LoggedLine(99999, "-------log start") +
                                  LoggedLine(99999, "[I][ 103][amdsdktask] User is not admin..."));
    const LogFacts log = GatherLog(Target());
    ASSERT_TRUE(log.lastRun);
    EXPECT_EQ(log.lastRun->end, RunEnd::kBrokenOff);
    EXPECT_EQ(log.lastRun->missing.cpu->id, "amd.not_admin");
    EXPECT_EQ(log.switchReason->reason.id, "amd.not_admin");
    EXPECT_GT(log.file.size, 0u);
}

TEST_F(GatherTest, OfALargeLogTheBeginAndTheEndAreRead) {
    MakeFolder(L"Log");
    const std::string filler = LoggedLine(5, "-------log off");
    std::string bytes = LoggedLine(5, "-------log start") +
                        LoggedLine(5, "[I][ 103][amdsdktask] User is not admin...");
    while (bytes.size() < size_t{6} << 20) {
        bytes += filler;
    }
    WriteFileBytes(LogPath(), bytes + LoggedLine(7, "-------log start"));
    const LogFacts log = GatherLog(Target());
    EXPECT_EQ(log.lastRun->processId, 7u);
    EXPECT_EQ(log.switchReason->reason.id, "amd.not_admin");
}

TEST_F(GatherTest, MutexOfTheLogTellsWhetherSomebodyWritesIt) {
    EXPECT_EQ(GatherLog(Target()).mutex, MutexState::kFree);
    const CUniqueHandle mutex(
        CreateMutexW(nullptr, FALSE, ZorLog::LogMutexName(LogPath()).c_str()));
    EXPECT_EQ(GatherLog(Target()).mutex, MutexState::kInUse);
    PATCH_IMPORT(denied, OpenMutexW, [](auto...) -> HANDLE {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    });
    EXPECT_EQ(GatherLog(Target()).mutex, MutexState::kDenied);
}

TEST_F(GatherTest, RunningProgramsAreFoundByName) {
    const std::wstring own = FileNameOf(std::filesystem::path(BuildFolder(L"tests")).wstring() +
                                        L"\\TEST_DOCTOR_GATHER.exe");
    const std::vector<ProcessFacts> running = RunningPrograms({own});
    // Others of this name are other tests, and may be about to end.
    EXPECT_THAT(running, Contains(testing::AllOf(
                             testing::Field(&ProcessFacts::id, GetCurrentProcessId()),
                             testing::Field(&ProcessFacts::integrity, testing::Ne(std::nullopt)))));
    EXPECT_THAT(RunningPrograms({L"no such program.exe"}), IsEmpty());
    EXPECT_EQ(GatherProcess(GetCurrentProcessId())->name, "test_doctor_gather.exe");
    EXPECT_FALSE(GatherProcess(0xFFFFFFF0));
}

TEST_F(GatherTest, RightsAreThoseOfTheProcess) {
    Simulate(R"({"administrator": false})");
    const RightsFacts rights = GatherRights();
    EXPECT_FALSE(rights.administrator);
    EXPECT_FALSE(rights.elevated);
    EXPECT_EQ(rights.integrity, uint32_t{SECURITY_MANDATORY_MEDIUM_RID});
    Simulate(R"({"administrator": true})");
    EXPECT_TRUE(GatherRights().administrator);
    EXPECT_EQ(GatherRights().integrity, uint32_t{SECURITY_MANDATORY_HIGH_RID});
}

TEST_F(GatherTest, SwitchIsOnWithoutAFileAndOffByIts0) {
    EXPECT_TRUE(GatherSwitch(Target()).on);
    EXPECT_FALSE(GatherSwitch(Target()).written);
    Write(L"Qorvella.set", "[cpu_kernel]\r\nsdk_flag=0\r\n");
    EXPECT_FALSE(GatherSwitch(Target()).on);
    EXPECT_TRUE(GatherSwitch(Target()).written);
    EXPECT_THAT(GatherSwitch(Target()).path, EndsWith("Qorvella.set"));
}

TEST_F(GatherTest, WindowsIsTheLibrarysAnswer) {
    Simulate(R"({"windows": {"major": 6, "minor": 3, "build": 9600}})");
    const WindowsFacts windows = GatherWindows();
    EXPECT_FALSE(windows.supported);
    EXPECT_TRUE(windows.is64Bit);
    EXPECT_FALSE(windows.isServer);
    EXPECT_EQ(windows.major, 6u);
    EXPECT_EQ(windows.minor, 3u);
    EXPECT_EQ(windows.build, 9600u);
}

TEST_F(GatherTest, WindowsMayBeAServer) {
    Simulate(R"({"windows": {"workstation": false}})");
    EXPECT_FALSE(GatherWindows().supported);
    EXPECT_TRUE(GatherWindows().isServer);
}

TEST_F(GatherTest, VbsAndProductAreThoseOfTheMachine) {
    Simulate(R"({"vbs": 2, "productName": "Surface Laptop 3"})");
    EXPECT_EQ(AskVbs().Within(kPatience), std::optional<uint32_t>(2u));
    const CpuFacts cpu = GatherCpu();
    EXPECT_EQ(cpu.product, "Surface Laptop 3");
    EXPECT_TRUE(cpu.productSkipped);
    EXPECT_THAT(cpu.processor.vendor, SizeIs(12));
}

// A Matisse, whose name fills two of three leaves and ends with blanks.
CpuidRegisters Ryzen(uint32_t leaf) {
    constexpr uint32_t kBlanks = 0x20202020;
    switch (leaf) {
        case 0:
            return VendorLeaf("AuthenticAMD");
        case 0x80000000:
            return {0x80000004, 0, 0, 0};
        case 0x80000001:
            return {0x870F10, 0x20000000, 0, 0};
        case 0x80000002:
            return {0x20444D41, 0x657A7952, 0x2039206E, 0x30303933};
        case 0x80000003:
            return {kBlanks, kBlanks, kBlanks, kBlanks};
        default:
            return {};
    }
}

TEST_F(GatherTest, ProcessorIsThatOfTheLibrarysTable) {
    const CFakeCpuid cpuid(&Ryzen);
    const ProcessorFacts processor = GatherCpu().processor;
    EXPECT_EQ(processor.vendor, "AuthenticAMD");
    EXPECT_EQ(processor.name, "AMD Ryzen 9 3900");
    EXPECT_EQ(processor.packageType, 2);
    EXPECT_EQ(processor.signature, 0x870F10u);
    EXPECT_EQ(processor.support, ProcessorSupport::kYes);
}

TEST_F(GatherTest, ProcessorMayBeUnknownAndWithoutAName) {
    const CFakeCpuid cpuid(
        [](uint32_t leaf) { return leaf == 0 ? VendorLeaf("GenuineIntel") : CpuidRegisters{}; });
    const ProcessorFacts processor = GatherCpu().processor;
    EXPECT_EQ(processor.vendor, "GenuineIntel");
    EXPECT_EQ(processor.name, "");
    EXPECT_EQ(processor.support, ProcessorSupport::kNo);
}

TEST_F(GatherTest, VbsMayBeUnknown) {
    Simulate(R"({"vbs": "unavailable"})");
    const auto answer = AskVbs().Within(kPatience);
    ASSERT_TRUE(answer);
    EXPECT_FALSE(*answer);
}

TEST_F(GatherTest, AServiceThatIsNotInstalledIsKnown) {
    Simulate(R"({"results": {"OpenServiceW": 1060}})");
    const ServiceFacts service = GatherDriver(Target()).service;
    EXPECT_EQ(service.error, 0u);
    EXPECT_FALSE(service.installed);
    Simulate(R"({"results": {"OpenServiceW": 5}})");
    EXPECT_EQ(GatherDriver(Target()).service.error, 5u);
    Simulate(R"({"results": {"OpenSCManagerW": 1722}})");
    EXPECT_EQ(GatherDriver(Target()).service.error, 1722u);
}

TEST_F(GatherTest, AServiceMarkedForDeleteIsSeenInTheRegistry) {
    const auto handle = reinterpret_cast<SC_HANDLE>(1);
    PATCH_IMPORT(manager, OpenSCManagerW, [&](auto...) { return handle; });
    PATCH_IMPORT(open, OpenServiceW, [&](auto...) { return handle; });
    PATCH_IMPORT(close, CloseServiceHandle, [](auto...) -> BOOL { return TRUE; });
    PATCH_IMPORT(query, QueryServiceStatus, [](auto, SERVICE_STATUS* status) -> BOOL {
        status->dwCurrentState = SERVICE_STOPPED;
        return TRUE;
    });
    PATCH_IMPORT(configuration, QueryServiceConfigW,
                 [](auto, QUERY_SERVICE_CONFIGW* config, auto...) -> BOOL {
                     static wchar_t s_path[] = L"\\??\\C:\\old\\AMDRyzenMasterDriver.sys";
                     config->lpBinaryPathName = s_path;
                     return TRUE;
                 });
    PATCH_IMPORT(value, RegGetValueW,
                 [&](HKEY root, LPCWSTR key, LPCWSTR name, DWORD flags, DWORD* type, void* data,
                     DWORD* size) -> LSTATUS {
                     if (std::wstring(name) == L"DeleteFlag") {
                         EXPECT_STREQ(key,
                                      L"SYSTEM\\CurrentControlSet\\Services\\"
                                      L"AMDRyzenMasterDriverV15");
                         *static_cast<DWORD*>(data) = 1;
                         return ERROR_SUCCESS;
                     }
                     return value.Original(root, key, name, flags, type, data, size);
                 });
    const ServiceFacts service = GatherDriver(Target()).service;
    EXPECT_TRUE(service.markedForDelete);
    EXPECT_EQ(service.state, SERVICE_STOPPED);
    EXPECT_EQ(service.imagePath, "C:\\old\\AMDRyzenMasterDriver.sys");
}

TEST_F(GatherTest, BlocklistIsOnOffOrLeftToWindows) {
    LSTATUS status = ERROR_FILE_NOT_FOUND;
    DWORD enabled = 0;
    PATCH_IMPORT(value, RegGetValueW,
                 [&](HKEY, LPCWSTR, LPCWSTR, DWORD, DWORD*, void* data, DWORD*) -> LSTATUS {
                     *static_cast<DWORD*>(data) = enabled;
                     return status;
                 });
    EXPECT_FALSE(GatherDriver(Target()).blocklist);
    status = ERROR_SUCCESS;
    EXPECT_EQ(GatherDriver(Target()).blocklist, false);
    enabled = 1;
    EXPECT_EQ(GatherDriver(Target()).blocklist, true);
}

TEST_F(GatherTest, AdaptersAreThoseOfWindowsList) {
    const auto list = reinterpret_cast<HDEVINFO>(1);
    PATCH_IMPORT(open, SetupDiGetClassDevsW, [&](auto...) { return list; });
    PATCH_IMPORT(close, SetupDiDestroyDeviceInfoList, [](auto...) -> BOOL { return TRUE; });
    PATCH_IMPORT(next, SetupDiEnumDeviceInfo,
                 [](auto, DWORD index, SP_DEVINFO_DATA* device) -> BOOL {
                     device->DevInst = index;
                     return index < 2;
                 });
    PATCH_IMPORT(property, SetupDiGetDeviceRegistryPropertyW,
                 [](auto, SP_DEVINFO_DATA* device, DWORD which, DWORD* type, BYTE* data, DWORD size,
                    auto) -> BOOL {
                     const bool isFirst = device->DevInst == 0;
                     const std::wstring text =
                         which == SPDRP_HARDWAREID
                             ? (isFirst ? L"PCI\\VEN_10DE&DEV_2206" : L"PCI\\VEN_8086&DEV_4680")
                         : which == SPDRP_SERVICE ? L"nvlddmkm"
                                                  : L"Card\x1b[2J";
                     *type = REG_SZ;
                     EXPECT_GE(size, (text.size() + 1) * sizeof(wchar_t));
                     std::memcpy(data, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
                     return TRUE;
                 });
    PATCH_IMPORT(status, CM_Get_DevNode_Status,
                 [](ULONG* bits, ULONG* problem, DEVINST, ULONG) -> CONFIGRET {
                     *bits = DN_HAS_PROBLEM;
                     *problem = 43;
                     return CR_SUCCESS;
                 });
    const auto adapters = GatherGpu(Target()).adapters;
    ASSERT_TRUE(adapters);
    ASSERT_THAT(*adapters, SizeIs(2));
    EXPECT_TRUE(adapters->front().isNvidia);
    EXPECT_EQ(adapters->front().name, "Card?[2J");
    EXPECT_EQ(adapters->front().service, "nvlddmkm");
    EXPECT_EQ(adapters->front().problem, 43u);
    EXPECT_FALSE(adapters->back().isNvidia);
}

TEST_F(GatherTest, NvmlIsLookedForAtTheLibrarysPathAndInTheSystemFolder) {
    SetEnvironmentVariableW(L"ProgramW6432", (BuildFolder(L"sim") + L"\\ProgramFiles").c_str());
    const GpuFacts gpu = GatherGpu(Target());
    EXPECT_TRUE(gpu.fixedNvml.isImage);
    EXPECT_THAT(gpu.fixedNvml.path, EndsWith("\\NVIDIA Corporation\\NVSMI\\Nvml.dll"));
    EXPECT_THAT(gpu.systemNvml.path, EndsWith("\\nvml.dll"));
    EXPECT_TRUE(gpu.hostLends);
    EXPECT_FALSE(GatherGpu({L"C:\\other\\utility.exe", L"C:\\other\\Zorvane.dll"}).hostLends);
}

}  // namespace
}  // namespace zorvane
