#include "monitor/outputs/growingfile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/handle.h"
#include "monitor/outputs/rotation.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/monitor/outputs/keptnotes.h"

namespace zorvane {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

class GrowingFileTest : public testing::Test, private IFileFrame {
  protected:
    GrowingFileTest() { Use({m_path, 0, 1}); }

    void Use(const GrowingFileOptions& options) {
        m_file = std::make_unique<CGrowingFile>(options, m_notes, [this] {
            return Moment{{}, m_tick};
        });
        m_file->SetFrame(*this);
    }

    // Writes a line one second later than the last time, and rests.
    void Write(const std::string& text) {
        m_tick += std::chrono::seconds(1);
        m_file->Write(text + "\n");
        m_file->Rest();
    }

    std::string Content() const { return ReadFileBytes(m_path); }

    // Somebody who lets nobody else open the file.
    CUniqueHandle Owner() const {
        return OwnFile(
            CreateFileW(m_path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    }

    std::string Head() const override { return "head\n"; }
    std::string Tail() const override { return "tail\n"; }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"a.csv");
    CKeptNotes m_notes;
    std::chrono::milliseconds m_tick{};
    std::unique_ptr<CGrowingFile> m_file;
};

TEST_F(GrowingFileTest, BeginsWithItsHeadOnlyWhenItIsEmpty) {
    EXPECT_FALSE(m_file->Open("head"));
    EXPECT_EQ(Content(), "");
    Write("1");
    Write("2");
    EXPECT_EQ(Content(), "head\n1\n2\n");
    Use({m_path, 0, 1});
    EXPECT_FALSE(m_file->Open("head"));
    Write("3");
    EXPECT_EQ(Content(), "head\n1\n2\n3\n");
}

TEST_F(GrowingFileTest, RefusesAFileWithAnotherFirstLineAndLeavesItAlone) {
    for (const char* content : {"other\n1\n", "header\n", "x", "head"}) {
        WriteFileBytes(m_path, content);
        const auto sentence = m_file->Open("head");
        ASSERT_TRUE(sentence) << content;
        EXPECT_THAT(*sentence, HasSubstr("a.csv has other columns"));
        EXPECT_EQ(Content(), content);
    }
    EXPECT_FALSE(m_file->Open());
}

TEST_F(GrowingFileTest, RefusesTextThatAShellHasWrittenAsUtf16) {
    WriteFileBytes(m_path, "\xFF\xFEh");
    EXPECT_THAT(m_file->Open().value_or(""), HasSubstr("is UTF-16 text"));
}

TEST_F(GrowingFileTest, TellsAtOnceThatItCannotBeWritten) {
    Use({m_folder.PathOf(L"none\\a.csv"), 0, 1});
    EXPECT_THAT(m_file->Open().value_or(""), HasSubstr("none\\a.csv: "));
}

TEST_F(GrowingFileTest, BeginsANewLineBehindOneThatWasCutOff) {
    WriteFileBytes(m_path, "head\n1\n2,");
    EXPECT_FALSE(m_file->Open("head"));
    Write("3");
    Write("4");
    EXPECT_EQ(Content(), "head\n1\n2,\n3\n4\n");
}

TEST_F(GrowingFileTest, BeginsAnewWhenItHasVanished) {
    Write("1");
    ASSERT_TRUE(DeleteFileW(m_path.c_str()));
    Write("2");
    EXPECT_EQ(Content(), "head\n2\n");
}

TEST_F(GrowingFileTest, WritesLaterWhatAFullDiskDidNotTake) {
    Write("1");
    {
        PATCH_IMPORT(full, WriteFile,
                     [&full](HANDLE file, LPCVOID text, DWORD size, LPDWORD written,
                             LPOVERLAPPED overlapped) -> WINBOOL {
                         // Half of it still fits.
                         full.Original(file, text, size / 2, written, overlapped);
                         SetLastError(ERROR_DISK_FULL);
                         return FALSE;
                     });
        Write("22222222");
        Write("33333333");
    }
    EXPECT_EQ(Content(), "head\n1\n");
    EXPECT_THAT(m_notes.notes, ElementsAre(HasSubstr("(112); trying again")));
    Write("4");
    EXPECT_EQ(Content(), "head\n1\n22222222\n33333333\n4\n");
    EXPECT_THAT(m_notes.notes, ElementsAre(testing::_, EndsWith("a.csv is written again")));
    m_file->Finish();
    EXPECT_FALSE(m_file->Failure());
}

TEST_F(GrowingFileTest, WaitsForSomebodyWhoHasTheFileOpen) {
    Write("1");
    CUniqueHandle owner = Owner();
    Write("2");
    EXPECT_THAT(m_notes.notes, ElementsAre(HasSubstr("(32); trying again")));
    owner.reset();
    m_file->Finish();
    EXPECT_EQ(Content(), "head\n1\n2\n");
    EXPECT_FALSE(m_file->Failure());
}

TEST_F(GrowingFileTest, FailsInTheEndIfLinesAreMissing) {
    Write("1");
    const CUniqueHandle owner = Owner();
    Write("2");
    Write("3");
    m_file->Finish();
    ASSERT_TRUE(m_file->Failure());
    EXPECT_THAT(Describe(m_file->Failure()->error),
                testing::AllOf(HasSubstr("2 lines are missing"), HasSubstr("a.csv: ")));
}

TEST_F(GrowingFileTest, KeepsNoMoreInMemoryThanItsLimit) {
    Write("1");
    CUniqueHandle owner = Owner();
    const std::string half(CGrowingFile::kMostPending / 2, 'x');
    for (int i = 0; i < 3; ++i) {
        Write(half);
    }
    owner.reset();
    m_file->Finish();
    EXPECT_LT(Content().size(), CGrowingFile::kMostPending);
    ASSERT_TRUE(m_file->Failure());
    EXPECT_THAT(m_file->Failure()->error.call, HasSubstr("2 lines are missing"));
}

TEST_F(GrowingFileTest, DoesNotTryAtEveryLineWhileItIsInTrouble) {
    Write("1");
    const CUniqueHandle owner = Owner();
    int tries = 0;
    PATCH_IMPORT(open, CreateFileW, [&](auto... arguments) {
        ++tries;
        return open.Original(arguments...);
    });
    for (int i = 0; i < 10; ++i) {
        m_file->Write("x\n");
    }
    EXPECT_EQ(tries, 1);
}

TEST_F(GrowingFileTest, BeginsANewFileAtItsLimit) {
    Use({m_path, 12, 2});
    for (const char* text : {"1", "2", "3", "4", "5", "6", "7", "8", "9"}) {
        Write(text);
    }
    EXPECT_EQ(Content(), "head\n7\n8\n9\n");
    EXPECT_EQ(ReadFileBytes(NumberedPath(m_path, 1)), "head\n4\n5\n6\ntail\n");
    EXPECT_EQ(ReadFileBytes(NumberedPath(m_path, 2)), "head\n1\n2\n3\ntail\n");
    EXPECT_TRUE(m_notes.notes.empty());
}

TEST_F(GrowingFileTest, GrowsOnWhereItCannotBeginANewFile) {
    Use({m_path, 12, 1});
    for (const char* text : {"1", "2", "3"}) {
        Write(text);
    }
    PATCH_IMPORT(refused, MoveFileExW, [](LPCWSTR, LPCWSTR, DWORD) -> WINBOOL {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    });
    for (const char* text : {"4", "5"}) {
        Write(text);
    }
    EXPECT_EQ(Content(), "head\n1\n2\n3\n4\n5\n");
    EXPECT_THAT(m_notes.notes, ElementsAre(HasSubstr("(5); trying again")));
    m_file->Finish();
    EXPECT_FALSE(m_file->Failure());
}

TEST_F(GrowingFileTest, RefusesUtf16OfEitherOrder) {
    WriteFileBytes(m_path, "\xFE\xFF");
    EXPECT_THAT(m_file->Open().value_or(""), HasSubstr("is UTF-16 text"));
}

TEST_F(GrowingFileTest, BeginsAndEndsItsPartsWithNothingThatNobodyGives) {
    m_file = std::make_unique<CGrowingFile>(GrowingFileOptions{m_path, 4, 1}, m_notes,
                                            [] { return Moment(); });
    Write("1");
    Write("2");
    Write("3");
    EXPECT_EQ(Content(), "3\n");
    EXPECT_EQ(ReadFileBytes(NumberedPath(m_path, 1)), "1\n2\n");
}

TEST_F(GrowingFileTest, GoesOnWhereThePartBeforeCannotBeEnded) {
    Use({m_path, 12, 1});
    PATCH_IMPORT(taken, CreateFileW, [&](LPCWSTR path, DWORD access, auto... rest) -> HANDLE {
        if (access == FILE_APPEND_DATA) {
            SetLastError(ERROR_SHARING_VIOLATION);
            return INVALID_HANDLE_VALUE;
        }
        return taken.Original(path, access, rest...);
    });
    for (const char* text : {"1", "2", "3", "4"}) {
        Write(text);
    }
    EXPECT_EQ(Content(), "head\n4\n");
    EXPECT_EQ(ReadFileBytes(NumberedPath(m_path, 1)), "head\n1\n2\n3\n");
    m_file->Finish();
    EXPECT_FALSE(m_file->Failure());
}

TEST_F(GrowingFileTest, KeepsTheLineWithWhichTheNextPartCannotBeginYet) {
    Use({m_path, 12, 1});
    for (const char* text : {"1", "2", "3"}) {
        Write(text);
    }
    {
        int opened = 0;
        PATCH_IMPORT(taken, CreateFileW, [&](LPCWSTR path, auto... rest) -> HANDLE {
            // The first is the full one, the next the one that is begun.
            if (path == m_path && ++opened == 2) {
                SetLastError(ERROR_SHARING_VIOLATION);
                return INVALID_HANDLE_VALUE;
            }
            return taken.Original(path, rest...);
        });
        Write("4");
    }
    EXPECT_THAT(m_notes.notes, ElementsAre(HasSubstr("(32); trying again")));
    m_file->Finish();
    EXPECT_EQ(Content(), "head\n4\n");
    EXPECT_FALSE(m_file->Failure());
}

TEST_F(GrowingFileTest, SaysThatAFileWhoseColumnsCannotBeReadHasOthers) {
    WriteFileBytes(m_path, "head\n1\n");
    PATCH_IMPORT(unread, ReadFile, [](auto...) -> WINBOOL { return FALSE; });
    EXPECT_THAT(m_file->Open("head").value_or(""), HasSubstr("has other columns"));
}

}  // namespace
}  // namespace zorvane
