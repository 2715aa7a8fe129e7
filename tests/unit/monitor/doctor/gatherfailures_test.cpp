// What is known of a machine whose Windows tells less than others, or other things. A process of
// its own each.
#include <windows.h>
#include <winternl.h>

#include <cfgmgr32.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <setupapi.h>
#include <tlhelp32.h>
#include <wintrust.h>

#include <cstring>
#include <filesystem>

#include "base/handle.h"
#include "base/text.h"
#include "monitor/doctor/gather.h"
#include "src/log/logfile.h"
#include "tests/support/buildfolder.h"
#include "tests/support/childprocess.h"
#include "tests/support/importpatch.h"
#include "tests/support/logfile.h"
#include "tests/support/tempfolder.h"

namespace zorvane {

using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class GatherFailures : public testing::Test {
  protected:
    static std::filesystem::path Built(const wchar_t* file) { return BuildFolder(file); }

    DoctorTarget Target() const {
        return {m_folder.PathOf(L"zorvanehost.exe"), m_folder.PathOf(L"Zorvane.dll")};
    }

    void PutDriver() const {
        std::filesystem::copy_file(Built(L"sim\\AMDRyzenMasterDriver.sys"),
                                   m_folder.PathOf(L"AMDRyzenMasterDriver.sys"));
    }

    // A program that runs until the test ends, because its stub window stays.
    static inline const std::wstring kRunning = BuildFolder(L"tests") + L"\\fakeworker.exe";
    static std::wstring Words() {
        return L"--wnd=" + std::to_wstring(reinterpret_cast<intptr_t>(GetDesktopWindow()));
    }

    // A log of that process in the test's folder.
    void WriteLog(DWORD process = GetCurrentProcessId()) const {
        std::filesystem::create_directory(m_folder.PathOf(L"Log"));
        WriteFileBytes(m_folder.PathOf(ZorLog::kLogFile), LoggedLine(process, "-------log start"));
    }

    CTempFolder m_folder;
};

TEST_F(GatherFailures, NamesMayBeUnknown) {
    PATCH_IMPORT(user, GetUserNameW, [](auto...) -> WINBOOL { return FALSE; });
    PATCH_IMPORT(computer, GetComputerNameExW, [](auto...) -> WINBOOL { return FALSE; });
    const MachineFacts facts = GatherFacts(Target());
    EXPECT_EQ(facts.user, "");
    EXPECT_EQ(facts.computer, "");
}

TEST_F(GatherFailures, TheLibraryLiesBesideTheHostUnlessItIsNamed) {
    const DoctorTarget beside = MakeDoctorTarget(L"C:\\a\\host.exe", L"");
    EXPECT_EQ(beside.library, L"C:\\a\\Zorvane.dll");
    EXPECT_EQ(MakeDoctorTarget(L"C:\\a\\host.exe", L"C:\\b\\Other.dll").library,
              L"C:\\b\\Other.dll");
}

TEST_F(GatherFailures, TextsOfWindowsAreOneLineThatSteersNoTerminal) {
    EXPECT_EQ(OneLine(L"a\tb\x7F\x9B\xA0z"), "a?b??\xC2\xA0z");
}

// What the registry says of Windows.
struct NamedEdition {
    const wchar_t* product;
    const wchar_t* release;
    DWORD build;
    const char* edition;
};

TEST_F(GatherFailures, EditionIsWhatTheRegistrySaysAndItsReleaseIfThereIsOne) {
    const NamedEdition rows[] = {
        {L"Windows 10 Pro", L"22H2", 19045, "Windows 10 Pro 22H2"},
        {L"Windows 10 Pro", L"23H2", 22631, "Windows 11 Pro 23H2"},
        {L"Windows Server 2025", L"24H2", 26100, "Windows Server 2025 24H2"},
        {L"Windows 10 Pro", nullptr, 19045, "Windows 10 Pro"},
        {nullptr, L"22H2", 19045, ""},
    };
    const NamedEdition* row = nullptr;
    static DWORD s_build;
    PATCH_IMPORT(
        read, RegQueryValueExW,
        [&](HKEY, LPCWSTR name, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD size) -> LSTATUS {
            const wchar_t* text =
                std::wcscmp(name, L"ProductName") == 0 ? row->product : row->release;
            if (!text) {
                return ERROR_FILE_NOT_FOUND;
            }
            *type = REG_SZ;
            *size = static_cast<DWORD>((std::wcslen(text) + 1) * sizeof(wchar_t));
            std::memcpy(data, text, *size);
            return ERROR_SUCCESS;
        });
    PATCH_IMPORT(find, GetProcAddress, [&](HMODULE module, LPCSTR name) -> FARPROC {
        if (std::strcmp(name, "RtlGetVersion") != 0) {
            return find.Original(module, name);
        }
        LONG(WINAPI * answer)
        (OSVERSIONINFOEXW*) = [](OSVERSIONINFOEXW* version) -> LONG {
            version->dwBuildNumber = s_build;
            return 0;
        };
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(answer));
    });
    for (const NamedEdition& one : rows) {
        row = &one;
        s_build = one.build;
        EXPECT_EQ(GatherWindows().edition, one.edition);
        EXPECT_EQ(GatherWindows().build, one.build);
    }
}

TEST_F(GatherFailures, ProductMayBeUnknown) {
    PATCH_IMPORT(read, RegQueryValueExW, [](auto...) -> LSTATUS { return ERROR_FILE_NOT_FOUND; });
    EXPECT_FALSE(GatherCpu().product);
    EXPECT_FALSE(GatherCpu().productSkipped);
}

TEST_F(GatherFailures, SignatureIsAsWindowsFindsIt) {
    const struct {
        LONG code;
        SignatureState state;
    } rows[] = {{ERROR_SUCCESS, SignatureState::kValid},
                {TRUST_E_NOSIGNATURE, SignatureState::kUnsigned},
                {TRUST_E_BAD_DIGEST, SignatureState::kInvalid},
                {CERT_E_UNTRUSTEDROOT, SignatureState::kInvalid},
                {TRUST_E_PROVIDER_UNKNOWN, SignatureState::kUnknown},
                {TRUST_E_ACTION_UNKNOWN, SignatureState::kUnknown},
                {TRUST_E_SUBJECT_FORM_UNKNOWN, SignatureState::kUnknown}};
    PutDriver();
    LONG answer = 0;
    PATCH_IMPORT(verify, WinVerifyTrust, [&](auto...) -> LONG { return answer; });
    for (const auto& row : rows) {
        answer = row.code;
        const SignatureFacts signature = GatherDriver(Target()).signature;
        EXPECT_EQ(signature.state, row.state) << std::hex << row.code;
        EXPECT_EQ(signature.code, static_cast<uint32_t>(row.code));
    }
}

TEST_F(GatherFailures, SignatureIsAskedForWithoutAWindowOrTheNetwork) {
    PutDriver();
    std::vector<DWORD> asked;
    PATCH_IMPORT(verify, WinVerifyTrust, [&](HWND, GUID*, LPVOID question) -> LONG {
        const auto& data = *static_cast<const WINTRUST_DATA*>(question);
        asked.insert(asked.end(), {data.dwUIChoice, data.fdwRevocationChecks, data.dwProvFlags,
                                   data.dwStateAction});
        return 0;
    });
    GatherDriver(Target());
    EXPECT_THAT(asked,
                testing::ElementsAre(WTD_UI_NONE, WTD_REVOKE_NONE, WTD_CACHE_ONLY_URL_RETRIEVAL,
                                     WTD_STATEACTION_VERIFY, WTD_UI_NONE, WTD_REVOKE_NONE,
                                     WTD_CACHE_ONLY_URL_RETRIEVAL, WTD_STATEACTION_CLOSE));
}

TEST_F(GatherFailures, SignatureThatWindowsDoesNotTellInTimeIsUnknown) {
    PutDriver();
    const CUniqueHandle end(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    std::atomic<int> ended = 0;
    PATCH_IMPORT(verify, WinVerifyTrust, [&](auto...) -> LONG {
        WaitForSingleObject(end.get(), INFINITE);
        ++ended;
        return 0;
    });
    const SignatureFacts signature = GatherDriver(Target()).signature;
    EXPECT_EQ(signature.state, SignatureState::kUnknown);
    EXPECT_EQ(signature.code, static_cast<uint32_t>(WAIT_TIMEOUT));
    SetEvent(end.get());
    // It asks twice: once more to give back what it holds.
    while (ended < 2) {
        SwitchToThread();
    }
}

// A service manager that has the driver's service.
class GatheredService : public GatherFailures {
  protected:
    ServiceFacts Service() const { return GatherDriver(Target()).service; }

    static SC_HANDLE AnyHandle() { return reinterpret_cast<SC_HANDLE>(1); }

    DWORD m_statusError = 0;
    bool m_hasConfiguration = true;
    LPWSTR m_path = nullptr;
    PATCH_IMPORT(m_manager, OpenSCManagerW, [](auto...) { return AnyHandle(); });
    PATCH_IMPORT(m_open, OpenServiceW, [](auto...) { return AnyHandle(); });
    PATCH_IMPORT(m_close, CloseServiceHandle, [](auto...) -> WINBOOL { return TRUE; });
    PATCH_IMPORT(m_query, QueryServiceStatus, [this](auto, SERVICE_STATUS* status) -> WINBOOL {
        status->dwCurrentState = SERVICE_RUNNING;
        SetLastError(m_statusError);
        return m_statusError == 0;
    });
    PATCH_IMPORT(m_configuration, QueryServiceConfigW,
                 [this](auto, QUERY_SERVICE_CONFIGW* config, auto...) -> WINBOOL {
                     config->lpBinaryPathName = m_path;
                     return m_hasConfiguration;
                 });
};

TEST_F(GatheredService, IsUnknownWhenWindowsDoesNotTellItsState) {
    m_statusError = ERROR_ACCESS_DENIED;
    EXPECT_EQ(Service().error, uint32_t{ERROR_ACCESS_DENIED});
}

TEST_F(GatheredService, MayHaveNoFileOrOneThatIsNamedOtherwise) {
    EXPECT_TRUE(Service().installed);
    EXPECT_EQ(Service().state, uint32_t{SERVICE_RUNNING});
    EXPECT_EQ(Service().imagePath, "");
    wchar_t path[] = L"System32\\drivers\\AMDRyzenMasterDriver.sys";
    m_path = path;
    EXPECT_EQ(Service().imagePath, "System32\\drivers\\AMDRyzenMasterDriver.sys");
    m_hasConfiguration = false;
    EXPECT_EQ(Service().imagePath, "");
    EXPECT_EQ(Service().error, 0u);
}

TEST_F(GatherFailures, CodeIntegrityIsAsTheKernelTellsIt) {
    static LONG s_result;
    static ULONG s_options;
    LONG(WINAPI * query)
    (ULONG, void*, ULONG, ULONG*) = [](ULONG what, void* answer, ULONG, ULONG*) -> LONG {
        constexpr ULONG kCodeIntegrity = 103;
        if (what == kCodeIntegrity && s_result >= 0) {
            static_cast<ULONG*>(answer)[1] = s_options;
        }
        return s_result;
    };
    PATCH_IMPORT(find, GetProcAddress, [&](HMODULE module, LPCSTR name) -> FARPROC {
        return std::strcmp(name, "NtQuerySystemInformation") == 0
                   ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(query))
                   : find.Original(module, name);
    });
    const auto asked = [&](LONG result, ULONG options) {
        s_result = result;
        s_options = options;
        return GatherDriver(Target());
    };
    EXPECT_EQ(asked(0, 0x001).memoryIntegrity, false);
    EXPECT_FALSE(asked(0, 0x001).testSigning);
    EXPECT_EQ(asked(0, 0x400).memoryIntegrity, true);
    EXPECT_TRUE(asked(0, 0x002).testSigning);
    EXPECT_EQ(asked(-1, 0x402).memoryIntegrity, std::nullopt);
    EXPECT_FALSE(asked(-1, 0x402).testSigning);
}

TEST_F(GatherFailures, PlatformOfAnotherMachineOrWithADamagedListOfNamesIsUnusable) {
    const std::string good = ReadFileBytes(BuildFolder(L"sim\\Platform.dll"));
    const auto kindOf = [&](size_t offset, const std::string& bytes) {
        std::string changed = good;
        changed.replace(offset, bytes.size(), bytes);
        WriteFileBytes(m_folder.PathOf(L"Platform.dll"), changed);
        return GatherPlatform(Target()).kind;
    };
    IMAGE_DOS_HEADER dos{};
    std::memcpy(&dos, good.data(), sizeof(dos));
    const auto headers = static_cast<size_t>(dos.e_lfanew);
    ASSERT_EQ(kindOf(0, "MZ"), PlatformKind::kVendor);
    const size_t machine = headers + offsetof(IMAGE_NT_HEADERS64, FileHeader.Machine);
    EXPECT_EQ(kindOf(machine, "\x64\xAA"), PlatformKind::kUnusable) << "of ARM64";
    const size_t exports = headers + offsetof(IMAGE_NT_HEADERS64, OptionalHeader.DataDirectory);
    EXPECT_EQ(kindOf(exports, std::string(8, '\0')), PlatformKind::kUnusable) << "no exports";
    EXPECT_EQ(kindOf(exports, "\xFF\xFF\xFF\x7F"), PlatformKind::kUnusable) << "outside";
    // Where the list lies in the file.
    IMAGE_NT_HEADERS64 known{};
    std::memcpy(&known, good.data() + headers, sizeof(known));
    const DWORD table = known.OptionalHeader.DataDirectory[0].VirtualAddress;
    size_t inFile = 0;
    for (WORD i = 0; i < known.FileHeader.NumberOfSections; ++i) {
        IMAGE_SECTION_HEADER section{};
        std::memcpy(&section, good.data() + headers + sizeof(known) + i * sizeof(section),
                    sizeof(section));
        if (section.VirtualAddress <= table &&
            table < section.VirtualAddress + section.SizeOfRawData) {
            inFile = section.PointerToRawData + (table - section.VirtualAddress);
        }
    }
    ASSERT_NE(inFile, 0u);
    const size_t names = inFile + offsetof(IMAGE_EXPORT_DIRECTORY, AddressOfNames);
    EXPECT_EQ(kindOf(names, "\xFF\xFF\xFF\x7F"), PlatformKind::kUnusable) << "names outside";
    const size_t count = inFile + offsetof(IMAGE_EXPORT_DIRECTORY, NumberOfNames);
    EXPECT_EQ(kindOf(count, std::string(4, '\0')), PlatformKind::kUnusable) << "counts none";
}

// Windows' list of display adapters.
class GatheredAdapters : public GatherFailures {
  protected:
    auto Adapters() const { return GatherGpu(Target()).adapters; }

    DWORD m_count = 1;
    BOOL m_isRead = TRUE;
    DWORD m_type = REG_MULTI_SZ;
    CONFIGRET m_statusResult = CR_SUCCESS;
    ULONG m_statusBits = DN_HAS_PROBLEM;
    HDEVINFO m_handle = reinterpret_cast<HDEVINFO>(1);
    PATCH_IMPORT(m_open, SetupDiGetClassDevsW, [this](auto...) { return m_handle; });
    PATCH_IMPORT(m_close, SetupDiDestroyDeviceInfoList, [](auto...) -> WINBOOL { return TRUE; });
    PATCH_IMPORT(m_next, SetupDiEnumDeviceInfo,
                 [this](auto, DWORD index, auto) -> WINBOOL { return index < m_count; });
    PATCH_IMPORT(m_property, SetupDiGetDeviceRegistryPropertyW,
                 [this](auto, auto, auto, DWORD* type, BYTE* data, auto...) -> WINBOOL {
                     constexpr wchar_t kId[] = L"PCI\\VEN_10DE&DEV_2206";
                     *type = m_type;
                     std::memcpy(data, kId, sizeof(kId));
                     return m_isRead;
                 });
    PATCH_IMPORT(m_status, CM_Get_DevNode_Status,
                 [this](ULONG* bits, ULONG* problem, DEVINST, ULONG) -> CONFIGRET {
                     *bits = m_statusBits;
                     *problem = 43;
                     return m_statusResult;
                 });
};

TEST_F(GatheredAdapters, AreUnknownWithoutAListAndWithAnEmptyOne) {
    m_count = 0;
    EXPECT_FALSE(Adapters());
    m_handle = INVALID_HANDLE_VALUE;
    EXPECT_FALSE(Adapters());
}

TEST_F(GatheredAdapters, HaveNoNameThatIsNoText) {
    EXPECT_TRUE(Adapters()->front().isNvidia) << "the first of several texts";
    m_type = REG_BINARY;
    EXPECT_EQ(Adapters()->front().name, "");
    EXPECT_FALSE(Adapters()->front().isNvidia);
    m_type = REG_SZ;
    m_isRead = FALSE;
    EXPECT_EQ(Adapters()->front().name, "");
}

TEST_F(GatheredAdapters, HaveAProblemOnlyWhereWindowsSaysSo) {
    EXPECT_EQ(Adapters()->front().problem, 43u);
    m_statusBits = DN_STARTED;
    EXPECT_EQ(Adapters()->front().problem, 0u);
    m_statusBits = DN_HAS_PROBLEM;
    m_statusResult = CR_NO_SUCH_DEVNODE;
    EXPECT_EQ(Adapters()->front().problem, 0u);
}

TEST_F(GatherFailures, NvmlIsNotThereWhereWindowsDoesNotTellItsFolders) {
    PATCH_IMPORT(expand, ExpandEnvironmentStringsW, [](auto...) -> DWORD { return 0; });
    PATCH_IMPORT(system, GetSystemDirectoryW, [](LPWSTR, UINT room) -> UINT { return room + 1; });
    const GpuFacts gpu = GatherGpu(Target());
    EXPECT_FALSE(gpu.fixedNvml.exists);
    EXPECT_EQ(gpu.systemNvml.path, "\\nvml.dll");
}

TEST_F(GatherFailures, LogThatCannotBeReadTellsOfNoRun) {
    WriteLog();
    ASSERT_TRUE(GatherLog(Target()).lastRun);
    {
        PATCH_IMPORT(size, GetFileSizeEx, [](auto...) -> WINBOOL { return FALSE; });
        EXPECT_FALSE(GatherLog(Target()).lastRun);
    }
    {
        PATCH_IMPORT(seek, SetFilePointerEx, [](auto...) -> WINBOOL { return FALSE; });
        EXPECT_FALSE(GatherLog(Target()).lastRun);
    }
    PATCH_IMPORT(read, ReadFile, [](auto...) -> WINBOOL { return FALSE; });
    EXPECT_FALSE(GatherLog(Target()).lastRun);
}

TEST_F(GatherFailures, WritersAreThoseWhomWindowsNamesButForThisProcess) {
    WriteLog();
    const CChildProcess other(kRunning, Words());
    std::vector<ULONG_PTR> ids;
    LONG result = 0;
    PATCH_IMPORT(ask, NtQueryInformationFile,
                 [&](HANDLE, PIO_STATUS_BLOCK, PVOID answer, ULONG, auto) -> NTSTATUS {
                     *static_cast<ULONG*>(answer) = static_cast<ULONG>(ids.size());
                     std::memcpy(static_cast<char*>(answer) + sizeof(ULONG_PTR), ids.data(),
                                 std::min<size_t>(ids.size(), 256) * sizeof(ULONG_PTR));
                     return result;
                 });
    const auto writers = [&] { return GatherLog(Target()).writers; };
    ids = {GetCurrentProcessId(), other.Id(), other.Id(), 0xFFFFFFF0};
    EXPECT_THAT(writers(), ElementsAre(Field(&ProcessFacts::id, other.Id())));
    // More of them than there is room for.
    ids.assign(1000, other.Id());
    EXPECT_THAT(writers(), SizeIs(1));
    result = -1;
    EXPECT_THAT(writers(), IsEmpty());
}

TEST_F(GatherFailures, WritersAreAlsoTheHostsWhomTheLogNames) {
    const CChildProcess host(kRunning, Words());
    const DoctorTarget target{kRunning, Target().library};
    WriteLog();
    EXPECT_THAT(GatherLog(target).writers, IsEmpty()) << "only the test is named";
    WriteLog(host.Id());
    const LogFacts log = GatherLog(target);
    EXPECT_THAT(log.writers, Contains(Field(&ProcessFacts::id, host.Id())));
    ASSERT_TRUE(log.lastRun);
    EXPECT_EQ(log.lastRun->end, RunEnd::kRunning);
}

TEST_F(GatherFailures, RightsAreTheLeastThatAreCertain) {
    PATCH_IMPORT(information, GetTokenInformation, [](auto...) -> WINBOOL { return FALSE; });
    PATCH_IMPORT(session, ProcessIdToSessionId, [](auto...) -> WINBOOL { return FALSE; });
    EXPECT_FALSE(GatherRights().elevated);
    EXPECT_FALSE(GatherRights().integrity);
    EXPECT_EQ(GatherRights().session, 0u);
    PATCH_IMPORT(token, OpenProcessToken, [](auto...) -> WINBOOL { return FALSE; });
    EXPECT_FALSE(GatherRights().elevated);
    EXPECT_FALSE(GatherRights().integrity);
}

TEST_F(GatherFailures, ProcessMayKeepItsNameAndEverythingElseToItself) {
    const DWORD id = GetCurrentProcessId();
    {
        PATCH_IMPORT(name, QueryFullProcessImageNameW, [](auto...) -> WINBOOL { return FALSE; });
        EXPECT_EQ(GatherProcess(id)->name, "?");
    }
    {
        PATCH_IMPORT(code, GetExitCodeProcess, [](auto...) -> WINBOOL { return FALSE; });
        EXPECT_FALSE(GatherProcess(id));
    }
    {
        PATCH_IMPORT(code, GetExitCodeProcess, [](HANDLE, LPDWORD answer) -> WINBOOL {
            *answer = 0;
            return TRUE;
        });
        EXPECT_FALSE(GatherProcess(id)) << "has ended";
    }
    PATCH_IMPORT(open, OpenProcess, [](auto...) -> HANDLE { return nullptr; });
    const auto running = RunningPrograms({L"test_doctor_gather.exe"});
    ASSERT_THAT(running, Contains(Field(&ProcessFacts::id, id)));
    EXPECT_FALSE(running.front().integrity);
    PATCH_IMPORT(list, CreateToolhelp32Snapshot,
                 [](auto...) -> HANDLE { return INVALID_HANDLE_VALUE; });
    EXPECT_THAT(RunningPrograms({L"test_doctor_gather.exe"}), IsEmpty());
}

}  // namespace
}  // namespace zorvane
