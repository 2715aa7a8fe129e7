#include "monitor/outputs/rotation.h"

#include <gtest/gtest.h>

#include "base/handle.h"
#include "tests/support/tempfolder.h"

namespace zorvane {
namespace {

class RotationTest : public testing::Test {
  protected:
    std::string Part(unsigned number) const { return ReadFileBytes(NumberedPath(m_path, number)); }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"a.csv");
};

TEST(NumberedPathTest, PutsTheNumberBeforeTheExtension) {
    EXPECT_EQ(NumberedPath(L"C:\\x.y\\today.csv", 2), L"C:\\x.y\\today.2.csv");
    EXPECT_EQ(NumberedPath(L"C:\\x.y\\today", 12), L"C:\\x.y\\today.12");
    EXPECT_EQ(NumberedPath(L"x.y/.hidden", 1), L"x.y/.hidden.1");
    EXPECT_EQ(NumberedPath(L"a.b.csv", 1), L"a.b.1.csv");
}

TEST_F(RotationTest, MovesEveryPartOneOnAndRemovesTheOldest) {
    for (const char* content : {"1", "2", "3", "4"}) {
        WriteFileBytes(m_path, content);
        EXPECT_FALSE(Rotate(m_path, 2));
    }
    EXPECT_EQ(ReadFileBytes(m_path), "");
    EXPECT_EQ(Part(1), "4");
    EXPECT_EQ(Part(2), "3");
    EXPECT_EQ(Part(3), "");
}

TEST_F(RotationTest, LosesNothingWhenAPartCannotBeMoved) {
    WriteFileBytes(m_path, "new");
    WriteFileBytes(NumberedPath(m_path, 1), "old");
    const CUniqueHandle reader =
        OwnFile(CreateFileW(NumberedPath(m_path, 1).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                            OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(Rotate(m_path, 3));
    EXPECT_EQ(ReadFileBytes(m_path), "new");
    EXPECT_EQ(Part(1), "old");
}

}  // namespace
}  // namespace zorvane
