#include "monitor/outputs/replacedfile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/handle.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/monitor/outputs/keptnotes.h"

namespace zorvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ReplacedFileTest : public testing::Test {
  protected:
    // Writes one second later than the last time.
    void Write(const std::string& text) {
        m_tick += std::chrono::seconds(1);
        m_file.Write(text);
    }

    // A reader that lets nobody else write, rename or delete.
    CUniqueHandle Reader() const {
        return OwnFile(CreateFileW(m_path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                   OPEN_EXISTING, 0, nullptr));
    }

    std::string Content() const { return ReadFileBytes(m_path); }

    bool HasTemporary() const {
        return GetFileAttributesW((m_path + L".tmp").c_str()) != INVALID_FILE_ATTRIBUTES;
    }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"gpu.prom");
    CKeptNotes m_notes;
    std::chrono::milliseconds m_tick{};
    CReplacedFile m_file{m_path, m_notes, [this] { return Moment{{}, m_tick}; }};
};

TEST_F(ReplacedFileTest, HoldsTheLastTextOnly) {
    EXPECT_FALSE(m_file.Open());
    EXPECT_EQ(Content(), "");
    Write("first\n");
    Write("2\n");
    EXPECT_EQ(Content(), "2\n");
    EXPECT_FALSE(HasTemporary());
    m_file.Finish();
    EXPECT_FALSE(m_file.Failure());
    EXPECT_TRUE(m_notes.notes.empty());
}

TEST_F(ReplacedFileTest, TellsAtOnceThatItCannotBeWritten) {
    CReplacedFile file(m_folder.PathOf(L"none\\gpu.prom"), m_notes);
    const auto error = file.Open();
    ASSERT_TRUE(error);
    EXPECT_THAT(Describe(*error), HasSubstr("none\\gpu.prom.tmp: "));
}

TEST_F(ReplacedFileTest, WaitsForAReaderAndSaysSoOnlyWhenItStays) {
    Write("1");
    CUniqueHandle reader = Reader();
    Write("2");
    Write("3");
    EXPECT_TRUE(m_notes.notes.empty());
    EXPECT_EQ(Content(), "1");
    EXPECT_FALSE(HasTemporary());
    Write("4");
    EXPECT_THAT(m_notes.notes,
                ElementsAre(testing::AllOf(HasSubstr("MoveFileExW"), HasSubstr("gpu.prom: "),
                                           testing::EndsWith("; trying again"))));
    reader.reset();
    Write("5");
    EXPECT_EQ(Content(), "5");
    EXPECT_THAT(m_notes.notes, ElementsAre(testing::_, testing::EndsWith("is written again")));
    EXPECT_FALSE(m_file.Failure());
}

TEST_F(ReplacedFileTest, FailsInTheEndIfTheReaderStays) {
    Write("1");
    const CUniqueHandle reader = Reader();
    Write("2");
    m_file.Finish();
    ASSERT_TRUE(m_file.Failure());
    EXPECT_FALSE(m_file.Failure()->readerGone);
    EXPECT_EQ(Content(), "1");
}

TEST_F(ReplacedFileTest, WritesInTheEndWhatAReaderHeldUp) {
    Write("1");
    CUniqueHandle reader = Reader();
    Write("2");
    PATCH_IMPORT(pause, Sleep, [&](DWORD) { reader.reset(); });
    m_file.Finish();
    EXPECT_EQ(Content(), "2");
    EXPECT_FALSE(m_file.Failure());
}

TEST_F(ReplacedFileTest, KeepsItsContentWhileTheDiskIsFull) {
    Write("1");
    {
        PATCH_IMPORT(full, WriteFile, [](HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED) -> WINBOOL {
            SetLastError(ERROR_DISK_FULL);
            return FALSE;
        });
        for (const char* text : {"2", "3", "4"}) {
            Write(text);
        }
        EXPECT_EQ(Content(), "1");
        EXPECT_FALSE(HasTemporary());
    }
    EXPECT_THAT(m_notes.notes, ElementsAre(HasSubstr("(112); trying again")));
    Write("5");
    EXPECT_EQ(Content(), "5");
}

TEST_F(ReplacedFileTest, MakesAFileThatHasVanishedAnew) {
    Write("1");
    ASSERT_TRUE(DeleteFileW(m_path.c_str()));
    Write("2");
    EXPECT_EQ(Content(), "2");
}

TEST_F(ReplacedFileTest, TakesALeftOverTemporaryFileForItsOwn) {
    WriteFileBytes(m_path + L".tmp", "longer than what follows");
    Write("2");
    EXPECT_EQ(Content(), "2");
}

}  // namespace
}  // namespace zorvane
