// What zorvanemon report answers, and what it leaves alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/text.h"
#include "monitor/json/jsonline.h"
#include "monitor/outcome.h"
#include "tests/support/importpatch.h"
#include "tests/unit/monitor/commands/runcommand.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using Words = std::vector<std::string>;

class ReportCommandTest : public testing::Test {
  protected:
    static std::string Line(EventBody body) {
        return JsonLine(EventAt(0, std::move(body)), StartEvent()) + "\n";
    }

    std::string Path(const wchar_t* name) const { return ToUtf8(m_folder.PathOf(name)); }

    // A report of these lines, in a file of that name.
    CommandResult Report(const std::string& lines, Words more = {},
                         const wchar_t* name = L"r.jsonl") const {
        WriteFileBytes(m_folder.PathOf(name), lines);
        Words words = {"report", Path(name)};
        words.insert(words.end(), more.begin(), more.end());
        return RunCommand(words);
    }

    std::string Page(const wchar_t* name = L"r.html") const {
        return ReadFileBytes(m_folder.PathOf(name));
    }

    const std::string m_recording = Line(StartEvent()) + Line(CpuTemperature{47});
    CTempFolder m_folder;
};

TEST_F(ReportCommandTest, LiesBesideTheRecordingUnlessItIsNamed) {
    EXPECT_EQ(Report(m_recording).exitCode, kExitDone);
    EXPECT_THAT(Page(), StartsWith("<!doctype html>"));
    EXPECT_EQ(Report(m_recording, {}, L"no extension").exitCode, kExitDone);
    EXPECT_THAT(Page(L"no extension.html"), StartsWith("<!doctype html>"));
    // The dot of a folder begins no extension.
    ASSERT_TRUE(CreateDirectoryW(m_folder.PathOf(L"v1.0").c_str(), nullptr));
    EXPECT_EQ(Report(m_recording, {}, L"v1.0\\recording").exitCode, kExitDone);
    EXPECT_THAT(Page(L"v1.0\\recording.html"), StartsWith("<!doctype html>"));
    EXPECT_EQ(Report(m_recording, {"-o", Path(L"named")}).exitCode, kExitDone);
    EXPECT_THAT(Page(L"named"), StartsWith("<!doctype html>"));
}

TEST_F(ReportCommandTest, ReplacesAFileOnlyWhenItIsTold) {
    WriteFileBytes(m_folder.PathOf(L"r.html"), "mine");
    const auto refused = Report(m_recording);
    EXPECT_EQ(refused.exitCode, kExitOutput);
    EXPECT_THAT(refused.errors, EndsWith("r.html exists already; --overwrite replaces it\n"));
    EXPECT_EQ(Page(), "mine");
    EXPECT_EQ(Report(m_recording, {"--overwrite"}).exitCode, kExitDone);
    EXPECT_THAT(Page(), StartsWith("<!doctype html>"));
}

TEST_F(ReportCommandTest, ShowsWhatABadRecordingHasBeforeItIsBad) {
    const auto result = Report(m_recording + "{\"schema\":1");
    EXPECT_EQ(result.exitCode, kExitRecording);
    EXPECT_THAT(result.errors, EndsWith("r.jsonl, line 3: the line is cut off\n"));
    EXPECT_THAT(Page(), HasSubstr("47"));
}

TEST_F(ReportCommandTest, IsNoneWhereNothingCanBeRead) {
    const auto missing = RunCommand({"report", Path(L"none.jsonl")});
    EXPECT_EQ(missing.exitCode, kExitRecording);
    EXPECT_THAT(missing.errors, StartsWith("zorvanemon: CreateFileW "));
    EXPECT_EQ(Report("nonsense\n").exitCode, kExitRecording);
    EXPECT_EQ(GetFileAttributesW(m_folder.PathOf(L"r.html").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(ReportCommandTest, HasNothingOfDoctorThatCannotBeRead) {
    const Words doctor = {"--doctor", Path(L"doctor.json")};
    const auto missing = Report(m_recording, doctor);
    EXPECT_EQ(missing.exitCode, kExitRecording);
    EXPECT_THAT(missing.errors, HasSubstr("CreateFileW " + Path(L"doctor.json") + ": "));
    // More than doctor ever writes is not read to its end.
    WriteFileBytes(m_folder.PathOf(L"doctor.json"),
                   std::string(size_t{5} << 20, '\n') + "x" + std::string(size_t{5} << 20, 'x'));
    EXPECT_THAT(Report(m_recording, doctor).errors,
                EndsWith("doctor.json is not what zorvanemon doctor --json writes\n"));
    EXPECT_EQ(GetFileAttributesW(m_folder.PathOf(L"r.html").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(ReportCommandTest, NamesTheFileThatCannotBeWritten) {
    WriteFileBytes(m_folder.PathOf(L"r.jsonl"), m_recording);
    CommandResult result;
    {
        // The note about it goes to a file as well, which can be written.
        PATCH_IMPORT(full, WriteFile,
                     [&](HANDLE file, LPCVOID bytes, DWORD size, auto... rest) -> WINBOOL {
                         if (size < 1000) {
                             return full.Original(file, bytes, size, rest...);
                         }
                         SetLastError(ERROR_DISK_FULL);
                         return FALSE;
                     });
        result = RunCommand({"report", Path(L"r.jsonl")});
    }
    EXPECT_EQ(result.exitCode, kExitOutput);
    EXPECT_THAT(result.errors, StartsWith("zorvanemon: WriteFile " + Path(L"r.html") + ": "));
}

}  // namespace
}  // namespace zorvane
