#include "monitor/workerlog/logtrouble.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/text.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"

namespace zorvane {
namespace {

using testing::HasSubstr;

class LogTroubleTest : public testing::Test {
  protected:
    void MakeFolder() { ASSERT_TRUE(CreateDirectoryW(m_folder.PathOf(L"Log").c_str(), nullptr)); }

    const CTempFolder m_folder;
    const std::wstring m_path = LogPathOf(m_folder.PathOf(L"Zorvane.dll"));
};

TEST_F(LogTroubleTest, IsAMissingFolder) {
    const Explanation explanation = ExplainMissingLog(m_path, {});
    EXPECT_EQ(explanation.id, "log.open.2");
    EXPECT_THAT(explanation.text, HasSubstr("there is no folder for it"));
    EXPECT_THAT(explanation.text, HasSubstr(ToUtf8(m_path)));
    EXPECT_THAT(explanation.remedy, HasSubstr("Make the folder Log"));
}

TEST_F(LogTroubleTest, IsAFileInThePlaceOfTheFolder) {
    WriteFileBytes(m_folder.PathOf(L"Log"), "x");
    EXPECT_EQ(ExplainMissingLog(m_path, {}).id, "log.open.2");
}

TEST_F(LogTroubleTest, IsAFolderWithTheNameOfTheFile) {
    MakeFolder();
    ASSERT_TRUE(CreateDirectoryW(m_path.c_str(), nullptr));
    const Explanation explanation = ExplainMissingLog(m_path, {});
    EXPECT_EQ(explanation.id, "log.open.13");
    EXPECT_THAT(explanation.remedy, HasSubstr("a folder of the file's name"));
}

TEST_F(LogTroubleTest, IsAFolderInWhichTheFileCannotBeMade) {
    MakeFolder();
    EXPECT_EQ(ExplainMissingLog(m_path, DWORD{ERROR_FILE_NOT_FOUND}).id, "log.open.13");
}

TEST_F(LogTroubleTest, IsAFileThatMayNotBeWritten) {
    MakeFolder();
    WriteFileBytes(m_path, "another's");
    PATCH_IMPORT(denied, CreateFileW,
                 [](LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) -> HANDLE {
                     SetLastError(ERROR_ACCESS_DENIED);
                     return INVALID_HANDLE_VALUE;
                 });
    EXPECT_EQ(ExplainMissingLog(m_path, {}).id, "log.open.13");
}

TEST_F(LogTroubleTest, IsALockThatAnotherProcessKeepsOrAReaderWithoutRights) {
    MakeFolder();
    WriteFileBytes(m_path, "another's");
    EXPECT_EQ(ExplainMissingLog(m_path, {}).id, "log.lock");
    EXPECT_EQ(ReadFileBytes(m_path), "another's");
    const Explanation unreadable = ExplainMissingLog(m_path, DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(unreadable.id, "log.unreadable");
    EXPECT_THAT(unreadable.text, HasSubstr("(5)"));
}

}  // namespace
}  // namespace zorvane
