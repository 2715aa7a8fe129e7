#include "base/fileversion.h"

#include <gtest/gtest.h>

#include "tests/support/buildfolder.h"
#include "tests/support/tempfolder.h"

namespace zorvane {
namespace {

TEST(FileVersionTest, IsThatOfTheResource) {
    const auto version = ReadFileVersion(BuildFolder(L"bin\\platform-standin") + L"\\Platform.dll");
    ASSERT_TRUE(version);
    EXPECT_EQ(version->number, ZORVANE_VERSION);
    EXPECT_EQ(version->description, "Stand-in for AMD's monitoring library");
}

TEST(FileVersionTest, FilesWithoutOneHaveNone) {
    const CTempFolder folder;
    WriteFileBytes(folder.PathOf(L"text.dll"), "no library");
    EXPECT_FALSE(ReadFileVersion(folder.PathOf(L"text.dll")));
    EXPECT_FALSE(ReadFileVersion(folder.PathOf(L"missing.dll")));
}

}  // namespace
}  // namespace zorvane
