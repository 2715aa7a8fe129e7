#include "base/librarysearch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>

#include "base/peimage.h"
#include "tests/support/buildfolder.h"
#include "tests/support/tempfolder.h"

namespace {

// A library in the current folder, which is also all of PATH.
class LibrarySearch : public testing::Test {
  protected:
    LibrarySearch() {
        std::filesystem::copy_file(BuildFolder(L"tests") + L"\\recordingworker.dll",
                                   m_folder.PathOf(kName));
        SetCurrentDirectoryW(m_folder.Path().c_str());
        SetEnvironmentVariableW(L"PATH", m_folder.Path().c_str());
    }
    ~LibrarySearch() override { SetCurrentDirectoryW(BuildFolder(L"tests").c_str()); }

    static constexpr wchar_t kName[] = L"plantedlibrary.dll";

    CTempFolder m_folder;
};

bool Narrows(const std::wstring& program) {
    const auto image = zorvane::CPeImage::OfFile(BuildFolder(L"bin") + L"\\" + program);
    EXPECT_TRUE(image.IsValid());
    return std::ranges::any_of(image.Imports(), [](const zorvane::PeImport& import) {
        return import.function == "SetDefaultDllDirectories";
    });
}

}  // namespace

TEST_F(LibrarySearch, LeavesOutTheCurrentFolderAndThePath) {
    zorvane::NarrowLibrarySearch();
    EXPECT_FALSE(LoadLibraryW(kName));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
}

TEST_F(LibrarySearch, TakesInAFolderThatIsAdded) {
    zorvane::NarrowLibrarySearch();
    AddDllDirectory(m_folder.Path().c_str());
    EXPECT_TRUE(LoadLibraryW(kName));
}

TEST_F(LibrarySearch, WouldLookThereOtherwise) { EXPECT_TRUE(LoadLibraryW(kName)); }

// The programs have the function from base/ only if their main function calls it.
TEST(Programs, NarrowTheirLibrarySearch) {
    EXPECT_TRUE(Narrows(L"zorvanehost.exe"));
    EXPECT_TRUE(Narrows(L"zorvanemon.exe"));
}
