#include "src/module.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/support/importpatch.h"

namespace {

// Lets the module's file be `file`; the buffer it is written to must be all zero.
auto Answering(const std::wstring& file) {
    return [file](HMODULE, wchar_t* buffer, DWORD size) {
        EXPECT_EQ(size, DWORD{MAX_PATH});
        EXPECT_TRUE(
            std::all_of(buffer, buffer + size, [](wchar_t character) { return character == 0; }));
        file.copy(buffer, size);
        return static_cast<DWORD>(file.size());
    };
}

std::wstring BesideModule(const wchar_t* relative) {
    ModulePath path;
    std::fill(std::begin(path), std::end(path), L'x');
    GetPathBesideModule(nullptr, relative, path);
    return path;
}

}  // namespace

TEST(Module, PathsLieBesideItsFile) {
    PATCH_IMPORT(name, GetModuleFileNameW, Answering(L"C:\\Tools\\Zorvane.dll"));
    EXPECT_EQ(BesideModule(L"Log\\Qorvella_HardwareDll.log"),
              L"C:\\Tools\\Log\\Qorvella_HardwareDll.log");
}

TEST(Module, PathsLieInTheRootForAFileInTheRoot) {
    PATCH_IMPORT(name, GetModuleFileNameW, Answering(L"C:\\host.exe"));
    EXPECT_EQ(BesideModule(L"Qorvella.set"), L"C:\\Qorvella.set");
}

TEST(Module, IsAskedForByItsHandle) {
    HMODULE asked = nullptr;
    PATCH_IMPORT(name, GetModuleFileNameW, [&](HMODULE module, wchar_t* buffer, DWORD size) {
        asked = module;
        return name.Original(module, buffer, size);
    });
    ModulePath path;
    const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    GetModuleFolder(kernel, path);
    EXPECT_EQ(asked, kernel);
    EXPECT_EQ(std::wstring(path).substr(1, 2), L":\\");
    EXPECT_NE(std::wstring(path).back(), L'\\');
}
