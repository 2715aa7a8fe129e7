#include "client/workerlog/logfollower.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"

namespace zorvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class LogFollowerTest : public testing::Test {
  protected:
    LogFollowerTest() { m_follower.Follow(m_path); }

    void Append(const std::string& text) { WriteFileBytes(m_path, ReadFileBytes(m_path) + text); }

    const CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"log");
    CLogFollower m_follower;
};

TEST_F(LogFollowerTest, GivesEachLineOnceWhenItIsWhole) {
    EXPECT_THAT(m_follower.Read(), IsEmpty());
    EXPECT_EQ(m_follower.Failure(), DWORD{ERROR_FILE_NOT_FOUND});
    Append("one\r\ntw");
    EXPECT_THAT(m_follower.Read(), ElementsAre("one"));
    EXPECT_EQ(m_follower.Failure(), std::nullopt);
    EXPECT_THAT(m_follower.Read(), IsEmpty());
    Append("o\r\n\r\nthree\n");
    EXPECT_THAT(m_follower.Read(), ElementsAre("two", "", "three"));
}

TEST_F(LogFollowerTest, LeavesOutWhatWasThereBefore) {
    Append("old\r\n");
    m_follower.SkipToEnd();
    Append("new\r\n");
    EXPECT_THAT(m_follower.Read(), ElementsAre("new"));
}

TEST_F(LogFollowerTest, ReadsAFileThatWasReplacedFromItsBeginningThoughItHasGrownPastTheOther) {
    Append("old\r\n");
    m_follower.SkipToEnd();
    WriteFileBytes(m_path, "new1\r\nnew2\r\n");
    EXPECT_THAT(m_follower.Read(), ElementsAre("new1", "new2"));
    WriteFileBytes(m_path, "n\r\n");
    EXPECT_THAT(m_follower.Read(), ElementsAre("n"));
    Append("n\r\n");
    EXPECT_THAT(m_follower.Read(), ElementsAre("n"));
    EXPECT_EQ(m_follower.Failure(), std::nullopt);
}

TEST_F(LogFollowerTest, ReadsALargeFileInPiecesAndOnlyItsEnd) {
    const std::string line(99, 'x');
    const size_t count = 20000;
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        text += line + "\n";
    }
    Append(text);
    size_t lines = m_follower.Read().size();
    EXPECT_TRUE(m_follower.HasMore());
    EXPECT_LE(lines, CLogFollower::kMostAtOnce / 100);
    while (m_follower.HasMore()) {
        lines += m_follower.Read().size();
    }
    EXPECT_LE(lines, CLogFollower::kLongestPast / 100 + 1);
    EXPECT_GE(lines, CLogFollower::kLongestPast / 100);
}

TEST_F(LogFollowerTest, LosesALineWithoutAnEndAndNothingElse) {
    Append(std::string(3 * CLogFollower::kMostAtOnce, 'x') + "\nnext\n");
    std::vector<std::string> lines = m_follower.Read();
    while (m_follower.HasMore()) {
        lines = m_follower.Read();
        ASSERT_LE(lines.empty() ? 0 : lines[0].size(), 2 * CLogFollower::kMostAtOnce);
    }
    ASSERT_THAT(lines, SizeIs(testing::Ge(1u)));
    EXPECT_EQ(lines.back(), "next");
}

TEST_F(LogFollowerTest, KeepsNobodyFromReplacingTheFile) {
    Append("old\r\n");
    m_follower.Read();
    // As another process would: with nothing shared.
    ASSERT_TRUE(DeleteFileW(m_path.c_str()));
    const HANDLE file =
        CreateFileW(m_path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    CloseHandle(file);
}

TEST_F(LogFollowerTest, GivesEmptyLinesOfEitherKind) {
    Append("one\n\n\r\ntwo\n");
    EXPECT_THAT(m_follower.Read(), ElementsAre("one", "", "", "two"));
}

TEST_F(LogFollowerTest, GivesEachLineOnceThoughTheFileCannotBeReadForAWhile) {
    Append("one\r\n");
    EXPECT_THAT(m_follower.Read(), ElementsAre("one"));
    {
        PATCH_IMPORT(read, ReadFile, [](auto...) -> WINBOOL {
            SetLastError(ERROR_NETNAME_DELETED);
            return FALSE;
        });
        EXPECT_THAT(m_follower.Read(), IsEmpty());
        EXPECT_EQ(m_follower.Failure(), DWORD{ERROR_NETNAME_DELETED});
    }
    Append("two\r\n");
    EXPECT_THAT(m_follower.Read(), ElementsAre("two"));
    EXPECT_EQ(m_follower.Failure(), std::nullopt);
}

TEST_F(LogFollowerTest, SaysWhyItKnowsNoSizeOrContent) {
    Append("one\r\n");
    {
        PATCH_IMPORT(size, GetFileSizeEx, [](auto...) -> WINBOOL {
            SetLastError(ERROR_NETNAME_DELETED);
            return FALSE;
        });
        // What cannot be left out is given later rather than lost.
        m_follower.SkipToEnd();
        EXPECT_THAT(m_follower.Read(), IsEmpty());
        EXPECT_EQ(m_follower.Failure(), DWORD{ERROR_NETNAME_DELETED});
    }
    {
        PATCH_IMPORT(read, ReadFile, [](auto...) -> WINBOOL {
            SetLastError(ERROR_LOCK_VIOLATION);
            return FALSE;
        });
        m_follower.SkipToEnd();
        EXPECT_THAT(m_follower.Read(), IsEmpty());
        EXPECT_EQ(m_follower.Failure(), DWORD{ERROR_LOCK_VIOLATION});
    }
    EXPECT_THAT(m_follower.Read(), ElementsAre("one"));
}

}  // namespace
}  // namespace zorvane
