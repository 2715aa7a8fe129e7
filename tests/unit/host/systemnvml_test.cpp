#include "host/systemnvml.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <shlobj.h>
#include <winioctl.h>

#include <cstring>
#include <filesystem>
#include <functional>

#include "host/runfolder.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"

namespace {

namespace fs = std::filesystem;

const std::string kContent = "NVIDIA's library";

class SystemNvml : public testing::Test {
  protected:
    SystemNvml() {
        fs::create_directory(m_folder);
        fs::create_directory(m_system);
        WriteFileBytes(m_original, kContent);
    }

    std::wstring Lead() const { return LeadToSystemNvml(m_folder.native(), m_system.native()); }

    const CTempFolder m_place;
    const fs::path m_folder = fs::path(m_place.Path()) / L"run";
    const fs::path m_system = fs::path(m_place.Path() + L"\\system\\");
    const std::wstring m_original = m_system.native() + L"nvml.dll";
    const fs::path m_nvsmi = m_folder / L"NVIDIA Corporation" / L"NVSMI";
    const std::wstring m_path = (m_nvsmi / L"Nvml.dll").native();
};

// Answers the request for a junction, which Wine cannot make.
class CJunctions {
  public:
    explicit CJunctions(std::function<WINBOOL()> answer) : m_answer(std::move(answer)) {}

    std::string bytes;
    DWORD code = 0;

  private:
    std::function<WINBOOL()> m_answer;
    PATCH_IMPORT(m_control, DeviceIoControl,
                 [this](HANDLE, DWORD control, void* in, DWORD size, auto...) -> WINBOOL {
                     code = control;
                     bytes.assign(static_cast<const char*>(in), size);
                     return m_answer();
                 });
};

uint32_t Number(const std::string& bytes, size_t offset, size_t size) {
    uint32_t number = 0;
    std::memcpy(&number, bytes.data() + offset, size);
    return number;
}

std::wstring WideAt(const std::string& bytes, size_t offset, size_t size) {
    std::wstring text(size / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data() + offset, size);
    return text;
}

}  // namespace

TEST_F(SystemNvml, IsReachedByAJunctionToItsFolder) {
    // Where the junction would lead.
    CJunctions junctions(
        [&] { return CreateHardLinkW(m_path.c_str(), m_original.c_str(), nullptr); });
    PATCH_IMPORT(copy, CopyFileW, [](auto...) -> WINBOOL {
        ADD_FAILURE() << "copied";
        return FALSE;
    });
    EXPECT_EQ(Lead(), L"");
    EXPECT_EQ(ReadFileBytes(m_path), kContent);

    EXPECT_EQ(junctions.code, DWORD{FSCTL_SET_REPARSE_POINT});
    const std::string& bytes = junctions.bytes;
    ASSERT_GT(bytes.size(), 16u);
    EXPECT_EQ(Number(bytes, 0, 4), uint32_t{IO_REPARSE_TAG_MOUNT_POINT});
    EXPECT_EQ(Number(bytes, 4, 2), bytes.size() - 8);
    const std::wstring target = m_system.native().substr(0, m_system.native().size() - 1);
    EXPECT_EQ(WideAt(bytes, 16 + Number(bytes, 8, 2), Number(bytes, 10, 2)), L"\\??\\" + target);
    EXPECT_EQ(WideAt(bytes, 16 + Number(bytes, 12, 2), Number(bytes, 14, 2)), target);
    EXPECT_EQ(bytes.size(), 16 + Number(bytes, 12, 2) + Number(bytes, 14, 2) + 2);
}

TEST_F(SystemNvml, IsCopiedWhereThereIsNoJunction) {
    const CJunctions junctions([] {
        SetLastError(ERROR_INVALID_FUNCTION);
        return FALSE;
    });
    EXPECT_EQ(Lead(), L"");
    EXPECT_EQ(ReadFileBytes(m_path), kContent);
}

TEST_F(SystemNvml, IsCopiedWhereTheJunctionLeadsNowhere) {
    const CJunctions junctions([] { return TRUE; });
    EXPECT_EQ(Lead(), L"");
    EXPECT_EQ(ReadFileBytes(m_path), kContent);
}

TEST_F(SystemNvml, IsNotTakenForAFileThatNobodyCanIdentify) {
    const CJunctions junctions(
        [&] { return CreateHardLinkW(m_path.c_str(), m_original.c_str(), nullptr); });
    PATCH_IMPORT(identify, GetFileInformationByHandle, [](auto...) -> WINBOOL { return FALSE; });
    // A junction could be removed, and the file be copied; what stands in for one here cannot.
    EXPECT_THAT(Lead(), testing::StartsWith(L"CreateDirectoryW: "));
}

TEST_F(SystemNvml, IsRefusedWhenTheCopyDiffers) {
    const CJunctions junctions([] { return FALSE; });
    PATCH_IMPORT(copy, CopyFileW, [&](LPCWSTR, LPCWSTR to, WINBOOL) -> WINBOOL {
        WriteFileBytes(to, kContent + "!");
        return TRUE;
    });
    EXPECT_EQ(Lead(), L"the copy differs from its original");
}

TEST_F(SystemNvml, SaysWhyItCannotBeCopied) {
    const CJunctions junctions([] { return FALSE; });
    PATCH_IMPORT(copy, CopyFileW, [](auto...) -> WINBOOL {
        SetLastError(ERROR_DISK_FULL);
        return FALSE;
    });
    EXPECT_TRUE(Lead().starts_with(L"CopyFileW: ")) << Lead();
}

TEST_F(SystemNvml, IsCopiedWhereTheJunctionLeadsToAnotherFile) {
    const CJunctions junctions([&] {
        WriteFileBytes(m_path, kContent);
        return TRUE;
    });
    // With the junction goes what it led to.
    PATCH_IMPORT(remove, RemoveDirectoryW, [&](LPCWSTR path) -> WINBOOL {
        EXPECT_EQ(path, m_nvsmi.native());
        DeleteFileW(m_path.c_str());
        return remove.Original(path);
    });
    bool isCopied = false;
    PATCH_IMPORT(copy, CopyFileW, [&](auto... arguments) -> WINBOOL {
        isCopied = true;
        return copy.Original(arguments...);
    });
    EXPECT_EQ(Lead(), L"");
    EXPECT_TRUE(isCopied);
    EXPECT_EQ(ReadFileBytes(m_path), kContent);
}

TEST_F(SystemNvml, IsRefusedWhenTheCopyCannotBeRead) {
    const CJunctions junctions([] { return FALSE; });
    PATCH_IMPORT(copy, CopyFileW, [](auto...) -> WINBOOL { return TRUE; });
    WriteFileBytes(m_original, "");
    EXPECT_EQ(Lead(), L"the copy differs from its original") << "no content is not the same";
}

TEST_F(SystemNvml, IsRefusedWhenItHasGone) {
    const CJunctions junctions([] { return TRUE; });
    DeleteFileW(m_original.c_str());
    const std::wstring error = Lead();
    EXPECT_TRUE(error.starts_with(L"CopyFileW: ")) << error;
    EXPECT_TRUE(error.ends_with(L"(2)")) << error;
}

TEST_F(SystemNvml, SaysWhichFolderCallFails) {
    // The company's folder, the library's, and the library's again after the junction.
    for (const int failing : {1, 2, 3}) {
        const CJunctions junctions([] { return FALSE; });
        int calls = 0;
        PATCH_IMPORT(create, CreateDirectoryW, [&](auto... arguments) -> WINBOOL {
            if (++calls < failing) {
                return create.Original(arguments...);
            }
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
        const std::wstring error = Lead();
        EXPECT_TRUE(error.starts_with(L"CreateDirectoryW: ")) << failing << error;
        EXPECT_TRUE(error.ends_with(L"(5)")) << failing << error;
        EXPECT_EQ(calls, failing);
        EXPECT_FALSE(fs::exists(m_path)) << failing;
        RemoveNvmlFolder(m_folder.native());
        fs::create_directory(m_folder);
    }
}

TEST_F(SystemNvml, IsNotLedToByAPathThatTheLibraryWouldCut) {
    const std::wstring folder = m_folder.native() + L"\\" + std::wstring(200, L'x');
    EXPECT_TRUE(LeadToSystemNvml(folder, m_system.native()).ends_with(L"is too long a path"));
}

TEST_F(SystemNvml, LeavesNothingBehind) {
    EXPECT_EQ(Lead(), L"");
    RemoveNvmlFolder(m_folder.native());
    EXPECT_FALSE(fs::exists(m_folder));
    EXPECT_EQ(ReadFileBytes(m_original), kContent);
}

TEST_F(SystemNvml, IsNotDeletedThroughTheJunction) {
    EXPECT_EQ(Lead(), L"");
    PATCH_IMPORT(attributes, GetFileAttributesW, [&](LPCWSTR path) -> DWORD {
        const DWORD plain = attributes.Original(path);
        return path == m_nvsmi.native() ? plain | FILE_ATTRIBUTE_REPARSE_POINT : plain;
    });
    PATCH_IMPORT(remove, DeleteFileW, [](LPCWSTR) -> WINBOOL {
        ADD_FAILURE() << "the system's own file would be gone";
        return FALSE;
    });
    RemoveNvmlFolder(m_folder.native());
}

namespace {

// Prepare, on a PC whose folders are the test's.
class PreparedNvml : public SystemNvml {
  protected:
    PreparedNvml() { SetEnvironmentVariableW(L"ProgramW6432", Programs().c_str()); }
    ~PreparedNvml() override { SetEnvironmentVariableW(L"ProgramW6432", nullptr); }

    std::wstring Programs() const { return m_place.PathOf(L"programs"); }

    void PutFixedFile() const {
        const fs::path folder = Programs() + L"\\NVIDIA Corporation\\NVSMI";
        fs::create_directories(folder);
        WriteFileBytes((folder / L"Nvml.dll").native(), "old");
    }

    static std::wstring Variable() {
        wchar_t value[MAX_PATH] = {};
        GetEnvironmentVariableW(L"ProgramW6432", value, MAX_PATH);
        return value;
    }

    CSystemNvml m_nvml;

  private:
    PATCH_IMPORT(m_systemFolder, GetSystemDirectoryW, [this](LPWSTR buffer, UINT room) -> UINT {
        const std::wstring name = m_system.native().substr(0, m_system.native().size() - 1);
        if (room <= name.size()) {
            return static_cast<UINT>(name.size() + 1);
        }
        name.copy(buffer, name.size());
        buffer[name.size()] = L'\0';
        return static_cast<UINT>(name.size());
    });
};

}  // namespace

TEST_F(PreparedNvml, LeadsTheLibraryToTheSystemsFileForThisRun) {
    EXPECT_EQ(m_nvml.Prepare(NvmlChoice::kAuto), L"");
    EXPECT_TRUE(m_nvml.IsUsed());
    const std::wstring folder = Variable();
    EXPECT_NE(folder, Programs());
    EXPECT_EQ(ReadFileBytes(folder + L"\\NVIDIA Corporation\\NVSMI\\Nvml.dll"), kContent);
    m_nvml.Remove();
    EXPECT_FALSE(fs::exists(folder));
}

TEST_F(PreparedNvml, LeavesALibraryAloneThatFindsItsFixedFile) {
    PutFixedFile();
    EXPECT_EQ(m_nvml.Prepare(NvmlChoice::kAuto), L"");
    EXPECT_FALSE(m_nvml.IsUsed());
    EXPECT_EQ(Variable(), Programs());
    EXPECT_EQ(m_nvml.Prepare(NvmlChoice::kSystem), L"");
    EXPECT_TRUE(m_nvml.IsUsed());
    m_nvml.Remove();
}

TEST_F(PreparedNvml, LeavesTheLibraryAloneWhenToldTo) {
    EXPECT_EQ(m_nvml.Prepare(NvmlChoice::kFixed), L"");
    EXPECT_FALSE(m_nvml.IsUsed());
    EXPECT_EQ(Variable(), Programs());
}

TEST_F(PreparedNvml, SaysThatTheChosenFileIsMissing) {
    DeleteFileW(m_original.c_str());
    EXPECT_EQ(m_nvml.Prepare(NvmlChoice::kAuto), L"");
    EXPECT_EQ(m_nvml.Prepare(NvmlChoice::kSystem), L"--nvml=system: there is no " + m_original);
    EXPECT_FALSE(m_nvml.IsUsed());
}

TEST_F(PreparedNvml, RefusesAFolderThatSomebodyElseHasMade) {
    std::wstring folder;
    PATCH_IMPORT(create, CreateDirectoryW, [&](LPCWSTR path, SECURITY_ATTRIBUTES*) -> WINBOOL {
        folder = path;
        SetLastError(ERROR_ALREADY_EXISTS);
        return FALSE;
    });
    const std::wstring error = m_nvml.Prepare(NvmlChoice::kAuto);
    EXPECT_TRUE(error.starts_with(m_original + L" cannot be used, since " + folder +
                                  L" cannot be made: CreateDirectoryW: "))
        << error;
    EXPECT_TRUE(error.ends_with(L"(183)")) << error;
    EXPECT_FALSE(m_nvml.IsUsed());
    EXPECT_EQ(Variable(), Programs());
}

TEST_F(PreparedNvml, LeavesNothingBehindWhenItFails) {
    PATCH_IMPORT(copy, CopyFileW, [](auto...) -> WINBOOL { return FALSE; });
    EXPECT_TRUE(m_nvml.Prepare(NvmlChoice::kAuto).find(L" does not lead to it: ") !=
                std::wstring::npos);
    EXPECT_EQ(Variable(), Programs());
    EXPECT_FALSE(m_nvml.IsUsed());
}

TEST_F(PreparedNvml, RemovesWhatARunThatWasKilledHasLeft) {
    PATCH_IMPORT(admin, IsUserAnAdmin, []() -> WINBOOL { return FALSE; });
    zorvane::ProcessIdentity ended = zorvane::OwnIdentity();
    ended.creationTime += 1;
    const std::wstring left = RunFolderPlace(RunFolderOwner::kUser) + L"\\" + RunFolderName(ended);
    fs::create_directory(left);
    EXPECT_EQ(LeadToSystemNvml(left, m_system.native()), L"");
    EXPECT_EQ(m_nvml.Prepare(NvmlChoice::kAuto), L"");
    EXPECT_FALSE(fs::exists(left));
    m_nvml.Remove();
}

TEST_F(PreparedNvml, ClosesItsFolderToOrdinaryUsersWhenElevated) {
    for (const bool elevated : {true, false}) {
        PATCH_IMPORT(admin, IsUserAnAdmin, [elevated]() -> WINBOOL { return elevated; });
        EXPECT_EQ(m_nvml.Prepare(NvmlChoice::kAuto), L"");
        EXPECT_EQ(Variable().starts_with(L"C:\\Program Files\\Zorvane run "), elevated)
            << Variable();
        m_nvml.Remove();
        SetEnvironmentVariableW(L"ProgramW6432", Programs().c_str());
    }
}

TEST_F(PreparedNvml, SaysThatWindowsNamesNoFolder) {
    PATCH_IMPORT(known, SHGetKnownFolderPath, [](auto...) -> HRESULT { return E_FAIL; });
    EXPECT_EQ(m_nvml.Prepare(NvmlChoice::kAuto),
              m_original + L" cannot be used: Windows names no folder for the way to it");
    EXPECT_FALSE(m_nvml.IsUsed());
    EXPECT_EQ(Variable(), Programs());
}
