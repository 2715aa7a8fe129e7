#include "host/runfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <sddl.h>

#include <filesystem>

#include "tests/support/buildfolder.h"
#include "tests/support/childprocess.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"

namespace {

std::wstring TextOf(PSECURITY_DESCRIPTOR descriptor) {
    LPWSTR text = nullptr;
    ConvertSecurityDescriptorToStringSecurityDescriptorW(
        descriptor, SDDL_REVISION_1, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &text,
        nullptr);
    const std::wstring result = text ? text : L"";
    LocalFree(text);
    return result;
}

class RunFolder : public testing::Test {
  protected:
    const CTempFolder m_place;
    const std::wstring m_path = m_place.PathOf(RunFolderName(zorvane::OwnIdentity()));
};

}  // namespace

// Rights that were set afterwards would leave a moment for others.
TEST_F(RunFolder, BelongsToAdministratorsFromItsCreationOn) {
    std::vector<std::wstring> descriptors;
    PATCH_IMPORT(
        create, CreateDirectoryW, [&](LPCWSTR path, SECURITY_ATTRIBUTES* attributes) -> WINBOOL {
            descriptors.push_back(attributes ? TextOf(attributes->lpSecurityDescriptor) : L"none");
            return create.Original(path, attributes);
        });
    EXPECT_FALSE(MakeRunFolder(m_path, RunFolderOwner::kAdministrators));
    EXPECT_THAT(descriptors, testing::ElementsAre(L"O:BAD:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)"));
    EXPECT_TRUE(std::filesystem::is_directory(m_path));
}

TEST_F(RunFolder, IsRefusedWhereTheVolumeKeepsNoAccessRights) {
    PATCH_IMPORT(volume, GetVolumeInformationByHandleW, [](auto...) -> WINBOOL { return TRUE; });
    const auto error = MakeRunFolder(m_path, RunFolderOwner::kAdministrators);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->call, "the volume keeps no access rights");
    EXPECT_FALSE(std::filesystem::exists(m_path));
}

TEST_F(RunFolder, IsRefusedWhereTheVolumeDoesNotTellOfAccessRights) {
    WINBOOL answer = FALSE;
    PATCH_IMPORT(volume, GetVolumeInformationByHandleW,
                 [&](HANDLE, auto, auto, auto, auto, LPDWORD flags, auto, auto) -> WINBOOL {
                     *flags = FILE_PERSISTENT_ACLS;
                     return answer;
                 });
    EXPECT_TRUE(MakeRunFolder(m_path, RunFolderOwner::kAdministrators));
    EXPECT_FALSE(std::filesystem::exists(m_path));

    answer = TRUE;
    PATCH_IMPORT(open, CreateFileW, [](auto...) -> HANDLE { return INVALID_HANDLE_VALUE; });
    EXPECT_TRUE(MakeRunFolder(m_path, RunFolderOwner::kAdministrators));
    EXPECT_FALSE(std::filesystem::exists(m_path));
}

TEST_F(RunFolder, IsNotMadeWithoutItsAccessRights) {
    PATCH_IMPORT(convert, ConvertStringSecurityDescriptorToSecurityDescriptorW,
                 [](auto...) -> WINBOOL {
                     SetLastError(ERROR_NOT_ENOUGH_MEMORY);
                     return FALSE;
                 });
    const auto error = MakeRunFolder(m_path, RunFolderOwner::kAdministrators);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->call, "ConvertStringSecurityDescriptorToSecurityDescriptorW");
    EXPECT_EQ(error->code, DWORD{ERROR_NOT_ENOUGH_MEMORY});
    EXPECT_FALSE(std::filesystem::exists(m_path));
}

TEST_F(RunFolder, IsRefusedWhereSomethingHasItsName) {
    std::filesystem::create_directory(m_path);
    for (const auto owner : {RunFolderOwner::kUser, RunFolderOwner::kAdministrators}) {
        const auto error = MakeRunFolder(m_path, owner);
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, DWORD{ERROR_ALREADY_EXISTS});
        EXPECT_TRUE(std::filesystem::exists(m_path));
    }
}

TEST_F(RunFolder, LiesWhereOnlyAdministratorsCanWriteOrWithTheUser) {
    EXPECT_EQ(RunFolderPlace(RunFolderOwner::kAdministrators), L"C:\\Program Files");
    EXPECT_TRUE(RunFolderPlace(RunFolderOwner::kUser).ends_with(L"\\AppData\\Local"));
}

TEST_F(RunFolder, IsPlacedWithoutTheEnvironmentsSay) {
    for (const wchar_t* name : {L"ProgramFiles", L"ProgramW6432", L"LOCALAPPDATA"}) {
        SetEnvironmentVariableW(name, m_place.Path().c_str());
    }
    EXPECT_NE(RunFolderPlace(RunFolderOwner::kAdministrators), m_place.Path());
    EXPECT_NE(RunFolderPlace(RunFolderOwner::kUser), m_place.Path());
}

TEST_F(RunFolder, IsNamedForItsProcess) {
    const zorvane::ProcessIdentity process{.id = 12, .creationTime = 34};
    EXPECT_EQ(RunFolderName(process), L"Zorvane run 12-34");
    const auto read = RunFolderProcess(L"Zorvane run 12-34");
    ASSERT_TRUE(read);
    EXPECT_EQ(read->id, 12u);
    EXPECT_EQ(read->creationTime, 34u);
    for (const wchar_t* name : {L"", L"Zorvane run ", L"Zorvane run 12", L"Zorvane", L"12-34",
                                L"Zorvane run 12-34 copy"}) {
        EXPECT_FALSE(RunFolderProcess(name)) << name;
    }
}

TEST_F(RunFolder, IsLeftOnceItsProcessHasEnded) {
    zorvane::ProcessIdentity ended = zorvane::OwnIdentity();
    ended.creationTime += 1;
    const std::wstring left = m_place.PathOf(RunFolderName(ended));
    for (const std::wstring& path : {left, m_path, m_place.PathOf(L"other")}) {
        std::filesystem::create_directory(path);
    }
    EXPECT_THAT(LeftRunFolders(m_place.Path()), testing::ElementsAre(left));
    EXPECT_TRUE(LeftRunFolders(m_place.PathOf(L"nowhere")).empty());
}

// Windows knows an ended process as long as anybody has a handle of it.
TEST_F(RunFolder, IsLeftWhileItsEndedProcessIsStillKnown) {
    const CChildProcess process(BuildFolder(L"tests") + L"\\fakeworker.exe", L"blind");
    const std::wstring word = process.ParentWord();
    const auto identity = zorvane::ParseIdentity(word.substr(word.find(L'=') + 1));
    ASSERT_TRUE(identity);
    const std::wstring folder = m_place.PathOf(RunFolderName(*identity));
    std::filesystem::create_directory(folder);
    EXPECT_TRUE(LeftRunFolders(m_place.Path()).empty());
    process.Kill();
    ASSERT_TRUE(process.Wait());
    EXPECT_THAT(LeftRunFolders(m_place.Path()), testing::ElementsAre(folder));
}
