#include "base/modulepath.h"

#include <gtest/gtest.h>

#include "tests/support/importpatch.h"

namespace zorvane {
namespace {

TEST(ModulePathTest, IsTheProgramsWithoutAModule) {
    EXPECT_TRUE(ModulePath(nullptr).ends_with(L"\\test_base.exe")) << ModulePath(nullptr);
    EXPECT_EQ(ModuleFolder(nullptr) + L"test_base.exe", ModulePath(nullptr));
}

TEST(ModulePathTest, IsThatOfALibrary) {
    const std::wstring path = ModulePath(GetModuleHandleW(L"kernel32.dll"));
    EXPECT_NE(path, ModulePath(nullptr));
    EXPECT_EQ(
        CompareStringOrdinal(path.c_str() + FolderOf(path).size(), -1, L"kernel32.dll", -1, TRUE),
        CSTR_EQUAL)
        << path;
}

TEST(ModulePathTest, IsEmptyForAnUnknownModule) {
    EXPECT_EQ(ModulePath(reinterpret_cast<HMODULE>(0x10000)), L"");
}

TEST(ModulePathTest, HasAnyLength) {
    std::wstring answer;
    PATCH_IMPORT(name, GetModuleFileNameW, [&](HMODULE, wchar_t* path, DWORD size) {
        const size_t length = answer.copy(path, size);
        if (length < size) {
            path[length] = L'\0';
        }
        return static_cast<DWORD>(length);
    });
    for (const size_t length : {size_t{MAX_PATH} - 1, size_t{MAX_PATH}, size_t{32767}}) {
        answer.assign(length, L'p');
        EXPECT_EQ(ModulePath(nullptr), answer) << length;
    }
}

TEST(ThisModuleTest, IsTheProgramInAProgram) { EXPECT_EQ(ThisModule(), GetModuleHandleW(nullptr)); }

TEST(FolderOfTest, KeepsTheLastSeparator) {
    EXPECT_EQ(FolderOf(L"C:\\Tools\\host.exe"), L"C:\\Tools\\");
    EXPECT_EQ(FolderOf(L"C:/Tools/host.exe"), L"C:/Tools/");
    EXPECT_EQ(FolderOf(L"C:\\host.exe"), L"C:\\");
    EXPECT_EQ(FolderOf(L"host.exe"), L"");
    EXPECT_EQ(FolderOf(L""), L"");
}

TEST(FullPathTest, BeginsAtTheRoot) {
    EXPECT_EQ(FullPath(L"C:\\Tools\\..\\host.exe"), L"C:\\host.exe");
    EXPECT_TRUE(FullPath(L"host.exe").ends_with(L"\\host.exe"));
    EXPECT_EQ(FullPath(L""), L"");
}

}  // namespace
}  // namespace zorvane
