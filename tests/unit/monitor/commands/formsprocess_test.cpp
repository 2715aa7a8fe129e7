// The forms for programs, as zorvanemon writes them to files.
#include <gmock/gmock.h>

#include "monitor/json/jsonline.h"
#include "tests/unit/monitor/commands/monitorprocess.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class FormsProcessTest : public MonitorProcessTest {
  protected:
    // A recording of two GPUs and the CPU, with so many rounds.
    void WriteRecording(int rounds) {
        StartEvent start;
        start.entry = "office";
        std::string text;
        const auto add = [&](int seconds, const EventBody& body) {
            text += JsonLine(EventAt(seconds, body), start) + "\n";
        };
        add(0, start);
        add(0, WorkerStartEvent{312});
        add(0, HelloEvent{{L"office", 5}, 312});
        add(0, FullStatic());
        for (int i = 0; i < rounds; ++i) {
            add(i, FullReading());
            add(i, Reading(0, "00000000:0A:00.0"));
            add(i, CpuTemperature{40 + i % 10});
        }
        ExitEvent end;
        end.exit.asked = true;
        end.exit.greeted = true;
        add(rounds, end);
        WriteFileBytes(Path(L"r.jsonl"), text);
    }

    std::optional<DWORD> Replay(const std::wstring& options) {
        return ReplayFile(L"r.jsonl", L"--at-once " + options);
    }

    std::optional<DWORD> ReplayFile(const std::wstring& name, const std::wstring& options) {
        StartPlain(L"replay " + Quoted(name) + L" " + options);
        return m_monitor->Wait(kTimeoutMs);
    }

    std::wstring Path(const std::wstring& name) const { return m_folder.PathOf(name); }
    std::wstring Quoted(const std::wstring& name) const { return L"\"" + Path(name) + L"\""; }
    std::string Content(const std::wstring& name) const { return ReadFileBytes(Path(name)); }

    static ptrdiff_t Lines(const std::string& text) {
        return std::count(text.begin(), text.end(), '\n');
    }

    CTempFolder m_folder;
};

TEST_F(FormsProcessTest, WritesToAFileWhatItWouldPrint) {
    WriteRecording(3);
    for (const wchar_t* form : {L"table", L"json", L"csv"}) {
        const std::wstring options = L"--format " + std::wstring(form);
        ASSERT_EQ(Replay(options), kExitDone) << m_monitor->Errors();
        const std::string printed = m_monitor->Output();
        ASSERT_EQ(Replay(options + L" --out " + Quoted(form)), kExitDone) << m_monitor->Errors();
        EXPECT_EQ(m_monitor->Output(), "");
        EXPECT_EQ(Content(form), printed);
    }
}

TEST_F(FormsProcessTest, AddsToAFileUnderOneHeader) {
    WriteRecording(3);
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(Replay(L"--format csv --out " + Quoted(L"a.csv")), kExitDone);
    }
    EXPECT_EQ(Lines(Content(L"a.csv")), 1 + 2 * 6);
    EXPECT_EQ(Replay(L"--format csv --fields time --out " + Quoted(L"a.csv")), kExitOutput);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("a.csv has other columns"));
}

TEST_F(FormsProcessTest, LeavesThePrometheusFileWithoutReadings) {
    ASSERT_EQ(Run(L"--format prometheus --count 2 --out " + Quoted(L"a.prom"),
                  L"hello static:0 gpu:0 gpu:1 cpu:{\\\"CpuTemp\\\":47} repeat:20"),
              kExitDone)
        << m_monitor->Errors();
    EXPECT_THAT(Content(L"a.prom"), HasSubstr("zorvane_up{worker=\"zorvanemon\"} 0\n"));
    EXPECT_THAT(Content(L"a.prom"), HasSubstr("type=\"cpu\"} 2\n"));
    EXPECT_THAT(Content(L"a.prom"), Not(HasSubstr("celsius")));
    EXPECT_EQ(Content(L"a.prom.tmp"), "");
}

TEST_F(FormsProcessTest, KeepsReadingsInThePrometheusFileWhileTheWorkerRuns) {
    Start(L"--format prometheus --out " + Quoted(L"a.prom"),
          L"hello static:0 gpu:0 gpu:1 cpu:{\\\"CpuTemp\\\":47} repeat:20");
    EXPECT_TRUE(WaitUntil([this] {
        const std::string text = Content(L"a.prom");
        return text.find("zorvane_up{worker=\"zorvanemon\"} 1\n") != std::string::npos &&
               text.find("zorvane_cpu_temperature_celsius{worker=\"zorvanemon\"} 47\n") !=
                   std::string::npos;
    }));
}

TEST_F(FormsProcessTest, StartsNoWorkerForAFileThatCannotBeWritten) {
    for (const wchar_t* form : {L"table", L"json", L"csv", L"prometheus"}) {
        EXPECT_EQ(
            Run(L"--format " + std::wstring(form) + L" --out " + Quoted(L"none\\a"), L"hello"),
            kExitOutput);
        EXPECT_THAT(m_monitor->Errors(), HasSubstr("none\\a"));
        EXPECT_THAT(m_monitor->Errors(), Not(HasSubstr("worker")));
    }
}

TEST_F(FormsProcessTest, DoesNotWriteOverItsOwnRecording) {
    WriteRecording(1);
    const std::string before = Content(L"r.jsonl");
    EXPECT_EQ(Replay(L"--format prometheus --out " + Quoted(L"x\\..\\R.JSONL")), kExitUsage);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("--out is the recording itself"));
    EXPECT_EQ(Content(L"r.jsonl"), before);
    EXPECT_EQ(Run(L"record " + Quoted(L"n") + L" --out " + Quoted(L"n"), L"hello"), kExitUsage);
}

TEST_F(FormsProcessTest, MakesRecordingsOfTheirOwnWhenItBeginsNewFiles) {
    WriteRecording(1500);
    ASSERT_EQ(Replay(L"--format json --rotate-mib 1 --keep 2 --out " + Quoted(L"a.jsonl")),
              kExitDone)
        << m_monitor->Errors();
    ptrdiff_t rows = 0;
    for (const wchar_t* part : {L"a.jsonl", L"a.1.jsonl"}) {
        EXPECT_LE(Content(part).size(), (1u << 20) + 1000u);
        EXPECT_EQ(ReplayFile(part, L"--at-once --format csv --fields serial"), kExitDone)
            << m_monitor->Errors();
        EXPECT_THAT(m_monitor->Output(), StartsWith("serial\r\n"));
        rows += Lines(m_monitor->Output()) - 1;
    }
    // A round may be cut in two between the files.
    EXPECT_GE(rows, 2 * 1500);
    EXPECT_LE(rows, 2 * 1500 + 2);
    EXPECT_TRUE(Content(L"a.2.jsonl").empty());
}

TEST_F(FormsProcessTest, ShowsOneGpuAndOneRoundInSoManySeconds) {
    WriteRecording(10);
    const std::wstring fields = L"--format csv --fields gpu_index,cpu_temperature_celsius ";
    ASSERT_EQ(Replay(fields + L"--gpu 0A:00.0 --interval 4"), kExitDone);
    EXPECT_EQ(m_monitor->Output(), "gpu_index,cpu_temperature_celsius\r\n0,40\r\n0,44\r\n0,48\r\n");
    ASSERT_EQ(Replay(L"--format csv --fields gpu_index --separator tab --gpu 9"), kExitDone);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("no GPU 9 has reported"));
}

TEST_F(FormsProcessTest, NamesTheLineAtWhichARecordingIsCutInEveryForm) {
    WriteRecording(3);
    const std::string whole = Content(L"r.jsonl");
    WriteFileBytes(Path(L"r.jsonl"), whole.substr(0, whole.size() - 10));
    for (const wchar_t* form : {L"table", L"json", L"csv", L"prometheus"}) {
        EXPECT_EQ(Replay(L"--format " + std::wstring(form)), kExitRecording);
        EXPECT_THAT(m_monitor->Errors(), HasSubstr(", line 14: the line is cut off"));
        EXPECT_THAT(m_monitor->Output(), EndsWith("\n"));
    }
    WriteFileBytes(Path(L"r.jsonl"), "time,host\r\n");
    EXPECT_EQ(Replay(L"--format csv"), kExitRecording);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("line 1: this is no recording"));
}

}  // namespace
}  // namespace zorvane
