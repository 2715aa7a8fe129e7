#include "client/loadedlibrary.h"

#include <gtest/gtest.h>

#include "base/modulepath.h"
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

}  // namespace
}  // namespace zorvane
