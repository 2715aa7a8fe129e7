#include "client/loadedlibrary.h"

#include <gtest/gtest.h>
#include <windows.h>
// After windows.h, which it needs.
#include <psapi.h>

#include <algorithm>
#include <cstring>

#include "base/modulepath.h"
#include "tests/support/importpatch.h"
#include "tests/unit/client/fakeworker.h"

namespace zorvane {
namespace {

TEST(LoadedLibraryTest, IsFoundByItsFileNameInAnyLetterCase) {
    EXPECT_EQ(FindLoadedLibrary(GetCurrentProcess(), L"KERNEL32.dll"),
              ModulePath(GetModuleHandleW(L"kernel32.dll")));
}

TEST(LoadedLibraryTest, IsEmptyForOneThatIsNotLoadedAndForAProcessThatHasGone) {
    EXPECT_EQ(FindLoadedLibrary(GetCurrentProcess(), L"Zorvane.dll"), L"");
    EXPECT_EQ(FindLoadedLibrary(nullptr, L"kernel32.dll"), L"");
}

TEST(LoadedLibraryTest, IsFoundInAProcessWithMoreModulesThanTheFirstGuess) {
    const std::vector<HMODULE> others(299, GetModuleHandleW(nullptr));
    PATCH_IMPORT(list, K32EnumProcessModules,
                 [&](HANDLE, HMODULE* modules, DWORD room, LPDWORD needed) -> WINBOOL {
                     std::vector<HMODULE> all = others;
                     all.push_back(GetModuleHandleW(L"kernel32.dll"));
                     *needed = static_cast<DWORD>(all.size() * sizeof(HMODULE));
                     std::memcpy(modules, all.data(), std::min(room, *needed));
                     return TRUE;
                 });
    EXPECT_EQ(FindLoadedLibrary(GetCurrentProcess(), L"kernel32.dll"),
              ModulePath(GetModuleHandleW(L"kernel32.dll")));
}

}  // namespace
}  // namespace zorvane
