// Looking at a machine changes nothing, starts nothing and runs no vendor's code.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <filesystem>
#include <mutex>
#include <utility>

#include "base/importtable.h"
#include "monitor/doctor/gather.h"
#include "src/log/logfile.h"
#include "tests/support/buildfolder.h"
#include "tests/support/importpatch.h"
#include "tests/support/logfile.h"
#include "tests/support/tempfolder.h"

namespace zorvane {

using testing::IsEmpty;
using testing::Not;

namespace {

constexpr DWORD kMapsOnly =
    LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_DATAFILE_EXCLUSIVE | LOAD_LIBRARY_AS_IMAGE_RESOURCE;

// Whatever of these a program imports, looking at a machine calls none.
constexpr const char* kForbidden[] = {
    "ControlService",   "CreateDirectoryW", "CreateProcessW",
    "CreateServiceW",   "DeleteFileW",      "DeleteService",
    "MoveFileExW",      "RegCreateKeyExW",  "RegDeleteValueW",
    "RegSetValueExW",   "SetFileTime",      "StartServiceW",
    "TerminateProcess", "WriteFile",        "WritePrivateProfileStringW",
};

std::atomic<const char*> s_forbiddenCall;

template <size_t kIndex>
void* Forbidden() {
    s_forbiddenCall = kForbidden[kIndex];
    return nullptr;
}

class HarmlessTest : public testing::Test {
  protected:
    void SetUp() override {
        for (const wchar_t* file : {L"bin\\Zorvane.dll", L"bin\\zorvanehost.exe",
                                    L"sim\\Platform.dll", L"sim\\AMDRyzenMasterDriver.sys"}) {
            std::filesystem::copy_file(
                BuildFolder(file),
                std::filesystem::path(m_folder.Path()) / std::filesystem::path(file).filename());
        }
        std::filesystem::create_directory(m_folder.PathOf(L"Log"));
        WriteFileBytes(m_folder.PathOf(ZorLog::kLogFile), LoggedLine(5, "-------log start"));
        WriteFileBytes(m_folder.PathOf(L"Qorvella.set"), "[cpu_kernel]\r\nsdk_flag=0\r\n");
        SetEnvironmentVariableW(L"ProgramW6432", (BuildFolder(L"sim") + L"\\ProgramFiles").c_str());
    }

    void Note(const std::wstring& call) {
        const std::lock_guard guard(m_lock);
        m_calls.push_back(call);
    }

    // Names, sizes, times and bytes of everything in the folder.
    std::vector<std::string> Content() const {
        std::vector<std::string> content;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_folder.Path())) {
            const auto time = std::filesystem::last_write_time(entry).time_since_epoch().count();
            content.push_back(entry.path().string() + std::to_string(time) +
                              ReadFileBytes(entry.path().wstring()));
        }
        return content;
    }

    MachineFacts Gather() const {
        return GatherFacts({m_folder.PathOf(L"zorvanehost.exe"), m_folder.PathOf(L"Zorvane.dll")});
    }

    CTempFolder m_folder;
    std::mutex m_lock;
    std::vector<std::wstring> m_calls;
};

TEST_F(HarmlessTest, LeavesEveryFileAsItWas) {
    const std::vector<std::string> before = Content();
    const MachineFacts facts = Gather();
    EXPECT_EQ(Content(), before);
    // It has looked at all of them.
    EXPECT_TRUE(facts.host.isImage && facts.library.isImage && facts.driver.file.exists);
    EXPECT_FALSE(facts.amdSwitch.on);
    EXPECT_TRUE(facts.log.lastRun);
}

TEST_F(HarmlessTest, OpensFilesThatAreThereAndOnlyToRead) {
    PATCH_IMPORT(open, CreateFileW,
                 [&](LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                     DWORD disposition, DWORD flags, HANDLE pattern) {
                     // The folder is opened with the right to add files, which adds none.
                     const bool isFolder = (flags & FILE_FLAG_BACKUP_SEMANTICS) != 0;
                     const DWORD harmless = isFolder ? FILE_ADD_FILE : GENERIC_READ;
                     if (disposition != OPEN_EXISTING || (access & ~harmless) != 0) {
                         Note(path);
                     }
                     return open.Original(path, access, share, security, disposition, flags,
                                          pattern);
                 });
    Gather();
    EXPECT_THAT(m_calls, IsEmpty());
}

TEST_F(HarmlessTest, LoadsNoVendorsLibraryAsCode) {
    PATCH_IMPORT(load, LoadLibraryW, [&](LPCWSTR path) {
        Note(path);
        return load.Original(path);
    });
    bool mapsPlatform = false;
    PATCH_IMPORT(map, LoadLibraryExW, [&](LPCWSTR path, HANDLE file, DWORD flags) {
        if ((flags & kMapsOnly) == 0) {
            Note(path);
        }
        mapsPlatform = mapsPlatform || FileNameOf(path) == L"Platform.dll";
        return map.Original(path, file, flags);
    });
    Gather();
    // Windows' own, which tells its version.
    EXPECT_THAT(m_calls, testing::ElementsAre(L"ntdll.dll"));
    EXPECT_TRUE(mapsPlatform);
    for (const wchar_t* vendors : {L"Platform.dll", L"Nvml.dll", L"Zorvane.dll"}) {
        EXPECT_EQ(GetModuleHandleW(vendors), nullptr) << vendors;
    }
}

template <size_t... kIndices>
std::vector<std::pair<void**, void*>> ForbidAll(std::index_sequence<kIndices...>) {
    void* const traps[] = {reinterpret_cast<void*>(&Forbidden<kIndices>)...};
    std::vector<std::pair<void**, void*>> replaced;
    for (size_t i = 0; i < std::size(kForbidden); ++i) {
        if (void** entry = FindImport(nullptr, kForbidden[i])) {
            replaced.emplace_back(entry, ExchangeImport(entry, traps[i]));
        }
    }
    return replaced;
}

TEST_F(HarmlessTest, CallsNothingThatWritesOrStarts) {
    const auto replaced = ForbidAll(std::make_index_sequence<std::size(kForbidden)>());
    Gather();
    for (const auto& [entry, original] : replaced) {
        ExchangeImport(entry, original);
    }
    EXPECT_THAT(replaced, Not(IsEmpty()));
    const char* const called = s_forbiddenCall;
    EXPECT_STREQ(called, nullptr);
}

TEST_F(HarmlessTest, OpensServicesOnlyToLook) {
    PATCH_IMPORT(manager, OpenSCManagerW, [&](LPCWSTR computer, LPCWSTR database, DWORD access) {
        EXPECT_EQ(access, DWORD{SC_MANAGER_CONNECT});
        return manager.Original(computer, database, access);
    });
    PATCH_IMPORT(service, OpenServiceW, [&](SC_HANDLE handle, LPCWSTR name, DWORD access) {
        EXPECT_EQ(access, DWORD{SERVICE_QUERY_STATUS | SERVICE_QUERY_CONFIG});
        return service.Original(handle, name, access);
    });
    Gather();
}

}  // namespace
}  // namespace zorvane
