#include <gmock/gmock.h>

#include "tests/unit/monitor/commands/monitorprocess.h"

namespace zorvane {
namespace {

using testing::HasSubstr;

class RecordProcessTest : public MonitorProcessTest {
  protected:
    // Makes a recording of two GPUs and the CPU.
    void Record(const std::wstring& options = L"") {
        EXPECT_EQ(Run(L"record " + Quoted() + L" --count 3 " + options,
                      L"hello static:0 gpu:0 gpu:1 cpu:{\\\"CpuTemp\\\":47} repeat:20"),
                  kExitDone)
            << m_monitor->Errors();
    }

    std::optional<DWORD> Replay(const std::wstring& options) {
        StartPlain(L"replay " + Quoted() + L" " + options);
        return m_monitor->Wait(kTimeoutMs);
    }

    std::wstring Path() const { return m_folder.PathOf(L"r.jsonl"); }
    std::wstring Quoted() const { return L"\"" + Path() + L"\""; }

    CTempFolder m_folder;
};

TEST_F(RecordProcessTest, GivesInEveryFormWhatWasShownThen) {
    Record();
    const std::string table = m_monitor->Output();
    EXPECT_THAT(table, HasSubstr("CPU temperature: 47 C"));
    EXPECT_EQ(Replay(L"--at-once"), kExitDone);
    EXPECT_EQ(m_monitor->Output(), table);
    EXPECT_EQ(Replay(L"--at-once --format json"), kExitDone);
    EXPECT_EQ(m_monitor->Output(), ReadFileBytes(Path()));
    EXPECT_EQ(m_monitor->Errors(), "");
}

TEST_F(RecordProcessTest, RecordsWhatTheJsonFormShows) {
    Record(L"--format json");
    EXPECT_EQ(m_monitor->Output(), ReadFileBytes(Path()));
}

TEST_F(RecordProcessTest, KeepsThePaceOfTheRecording) {
    Record();
    EXPECT_EQ(Replay(L"--speed 10"), kExitDone);
    EXPECT_THAT(m_monitor->Output(), HasSubstr("CPU temperature: 47 C"));
}

TEST_F(RecordProcessTest, EndsAReplayAfterTheRoundsThatWereAskedFor) {
    Record();
    EXPECT_EQ(Replay(L"--at-once --count 1"), kExitDone);
    EXPECT_EQ(m_monitor->Output().find("\n\n"), std::string::npos);
    EXPECT_EQ(Replay(L"--at-once --count 9"), kExitTooShort);
}

TEST_F(RecordProcessTest, OverwritesNoFileUnlessToldSo) {
    WriteFileBytes(Path(), "precious");
    EXPECT_EQ(Run(L"record " + Quoted(), L"hello"), kExitOutput);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("exists already; --overwrite replaces it"));
    EXPECT_EQ(ReadFileBytes(Path()), "precious");
    Record(L"--overwrite");
    EXPECT_THAT(ReadFileBytes(Path()), testing::StartsWith("{\"type\":\"start\""));
}

TEST_F(RecordProcessTest, NamesTheLineAtWhichARecordingIsCut) {
    Record();
    const std::string whole = ReadFileBytes(Path());
    WriteFileBytes(Path(), whole.substr(0, whole.size() - 10));
    EXPECT_EQ(Replay(L"--at-once"), kExitRecording);
    const auto lines = std::count(whole.begin(), whole.end(), '\n');
    EXPECT_THAT(m_monitor->Errors(),
                HasSubstr(", line " + std::to_string(lines) + ": the line is cut off"));
    EXPECT_THAT(m_monitor->Output(), HasSubstr("CPU temperature: 47 C"));
}

TEST_F(RecordProcessTest, NamesARecordingThatThereIsNot) {
    StartPlain(L"replay \"" + m_folder.PathOf(L"none") + L"\"");
    EXPECT_EQ(m_monitor->Wait(kTimeoutMs), kExitRecording);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("none: "));
}

TEST_F(RecordProcessTest, KeepsWarningsAndMakesOthersFromTheReadingsWhenAskedTo) {
    Record(L"--warn cpu.temp=40");
    const char kWarning[] = "CPU temperature is 47 C, over the threshold of 40 C";
    EXPECT_THAT(m_monitor->Errors(), HasSubstr(kWarning));
    EXPECT_EQ(Replay(L"--at-once --format json"), kExitDone);
    EXPECT_EQ(m_monitor->Output(), ReadFileBytes(Path()));
    EXPECT_THAT(m_monitor->Output(), HasSubstr(kWarning));
    EXPECT_EQ(Replay(L"--at-once --format json --warn cpu.temp=45"), kExitDone);
    EXPECT_THAT(m_monitor->Output(), HasSubstr("over the threshold of 45 C"));
    EXPECT_THAT(m_monitor->Output(), testing::Not(HasSubstr("of 40 C")));
    EXPECT_EQ(Replay(L"--at-once --format json --warn off"), kExitDone);
    EXPECT_THAT(m_monitor->Output(), testing::Not(HasSubstr("threshold")));
}

}  // namespace
}  // namespace zorvane
