#include "monitor/sources/recordingsource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "monitor/json/jsonline.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

class RecordingSourceTest : public testing::Test, public IEventSink {
  protected:
    // A recording of one worker, whose CPU has the temperatures in seconds 1, 2 and so on.
    static std::string Recording(const std::vector<int>& celsius) {
        std::string text = Line(EventAt(0, StartEvent()));
        text += Line(EventAt(0, WorkerStartEvent{7}));
        int second = 0;
        for (const int value : celsius) {
            text += Line(EventAt(++second, CpuTemperature{value}));
        }
        return text + Line(EventAt(second, ExitEvent()));
    }

    static std::string Line(const Event& event) { return JsonLine(event, StartEvent()) + "\n"; }

    void Open(const std::string& text, std::optional<double> speed = 1.0) {
        WriteFileBytes(m_folder.PathOf(L"r.jsonl"), text);
        m_source.emplace(RecordingSourceOptions{m_folder.PathOf(L"r.jsonl"), speed});
        m_source->Start(*this, At(0ms));
    }

    // The text of the failure that a recording ends with, without the path.
    std::string FailureOf(const std::string& text) {
        m_events.clear();
        Open(text, std::nullopt);
        while (!m_source->End()) {
            m_source->OnTime(At(0ms));
        }
        EXPECT_EQ(m_source->End(), EndReason::kRecordingBad);
        const auto* notice = std::get_if<NoticeEvent>(&m_events.back().body);
        if (!notice) {
            ADD_FAILURE() << "no notice";
            return "";
        }
        return notice->text.substr(notice->text.find(", line") + 2);
    }

    static Moment At(std::chrono::milliseconds tick) { return {TimeOfTest(9999), 100s + tick}; }

    std::vector<int> Celsius() const {
        std::vector<int> result;
        for (const Event& event : m_events) {
            if (const auto* cpu = std::get_if<CpuTemperature>(&event.body)) {
                result.push_back(cpu->celsius);
            }
        }
        return result;
    }

    void OnEvent(const Event& event) override {
        m_events.push_back(event);
        if (m_stopsAt == m_events.size()) {
            m_source->Stop();
        }
    }

    CTempFolder m_folder;
    std::optional<CRecordingSource> m_source;
    std::vector<Event> m_events;
    size_t m_stopsAt = 0;
};

TEST_F(RecordingSourceTest, KeepsThePaceAndTheTimesOfTheRecording) {
    Open(Recording({41, 42}));
    m_source->OnTime(At(0ms));
    EXPECT_EQ(m_events.size(), 2u);
    EXPECT_EQ(m_source->DueTick(), 101s);
    m_source->OnTime(At(999ms));
    EXPECT_THAT(Celsius(), ElementsAre());
    m_source->OnTime(At(1000ms));
    EXPECT_THAT(Celsius(), ElementsAre(41));
    EXPECT_EQ(m_events.back().time, TimeOfTest(1));
    EXPECT_FALSE(m_source->End());
    m_source->OnTime(At(2000ms));
    EXPECT_THAT(Celsius(), ElementsAre(41, 42));
    EXPECT_EQ(m_source->End(), EndReason::kRecordingEnded);
}

TEST_F(RecordingSourceTest, IsAsFastAsItIsTold) {
    Open(Recording({41, 42}), 4.0);
    m_source->OnTime(At(249ms));
    EXPECT_THAT(Celsius(), ElementsAre());
    m_source->OnTime(At(250ms));
    EXPECT_THAT(Celsius(), ElementsAre(41));
}

TEST_F(RecordingSourceTest, GivesAllAtOnceButLetsTheRunHaveItsTurn) {
    Open(Recording(std::vector<int>(300, 41)), std::nullopt);
    EXPECT_EQ(m_source->DueTick(), 100s);
    m_source->OnTime(At(0ms));
    EXPECT_EQ(m_events.size(), 256u);
    m_source->OnTime(At(0ms));
    EXPECT_EQ(m_events.size(), 303u);
    EXPECT_EQ(m_source->End(), EndReason::kRecordingEnded);
}

TEST_F(RecordingSourceTest, WaitsNeitherForAClockThatWasSetBackNorBetweenTwoRecordings) {
    std::string text = Line(EventAt(5, StartEvent()));
    text += Line(EventAt(3, CpuTemperature{41}));
    text += Line(EventAt(99999, StartEvent()));
    text += Line(EventAt(100000, CpuTemperature{42}));
    Open(text);
    m_source->OnTime(At(0ms));
    EXPECT_THAT(Celsius(), ElementsAre(41));
    EXPECT_EQ(m_events.size(), 3u);
    EXPECT_EQ(m_source->DueTick(), 101s);
}

TEST_F(RecordingSourceTest, KeepsThePaceOfARecordingBehindAnother) {
    std::string text = Line(EventAt(0, StartEvent()));
    text += Line(EventAt(2, CpuTemperature{41}));
    text += Line(EventAt(500, StartEvent()));
    text += Line(EventAt(501, CpuTemperature{42}));
    Open(text);
    m_source->OnTime(At(2000ms));
    EXPECT_THAT(Celsius(), ElementsAre(41));
    EXPECT_EQ(m_source->DueTick(), 103s);
}

TEST_F(RecordingSourceTest, EndsWhenItIsStopped) {
    m_stopsAt = 3;
    Open(Recording({41, 42, 43}), std::nullopt);
    m_source->OnTime(At(0ms));
    EXPECT_EQ(m_events.size(), 3u);
    EXPECT_EQ(m_source->End(), EndReason::kRecordingEnded);
}

TEST_F(RecordingSourceTest, TakesLineEndsOfEitherKind) {
    std::string text;
    for (const char c : Recording({41})) {
        text += c == '\n' ? "\r\n" : std::string(1, c);
    }
    Open(text, std::nullopt);
    m_source->OnTime(At(0ms));
    EXPECT_EQ(m_source->End(), EndReason::kRecordingEnded);
    EXPECT_THAT(Celsius(), ElementsAre(41));
}

TEST_F(RecordingSourceTest, ShowsACutRecordingUpToTheCutAndNamesTheLine) {
    const std::string whole = Recording({41, 42});
    const std::string cut = whole.substr(0, whole.rfind(R"("time")"));
    EXPECT_EQ(FailureOf(cut), "line 5: the line is cut off");
    EXPECT_THAT(Celsius(), ElementsAre(41, 42));
    EXPECT_EQ(FailureOf(whole.substr(0, whole.rfind(R"({"type")"))),
              "line 4: the recording ends while its worker runs: the rest is missing");
    EXPECT_EQ(FailureOf(whole.substr(0, whole.size() - 1)), "line 5: the line is cut off");
}

TEST_F(RecordingSourceTest, SaysThatAFileIsNoRecording) {
    EXPECT_EQ(FailureOf(""), "line 1: the file is empty");
    EXPECT_EQ(FailureOf("hello\n"), "line 1: this is no recording: not a whole JSON object");
    EXPECT_THAT(FailureOf("\xFF\xFE{\n"), HasSubstr("line 1: UTF-16"));
    EXPECT_THAT(FailureOf(Line(EventAt(0, CpuTemperature{41}))),
                HasSubstr("line 1: this is no recording from its beginning"));
    EXPECT_THAT(FailureOf(std::string(3 << 20, 'x')), HasSubstr("line 1: the line is cut off"));
    EXPECT_EQ(FailureOf(Line(EventAt(0, StartEvent())) + "{}\n"), "line 2: \"schema\" is missing");
}

TEST_F(RecordingSourceTest, NamesAFileThatCannotBeOpened) {
    m_source.emplace(RecordingSourceOptions{m_folder.PathOf(L"none"), 1.0});
    m_source->Start(*this, At(0ms));
    EXPECT_EQ(m_source->End(), EndReason::kRecordingBad);
    EXPECT_THAT(std::get<NoticeEvent>(m_events.back().body).text, HasSubstr("CreateFileW"));
}

TEST_F(RecordingSourceTest, SaysThatTheFileCannotBeReadOn) {
    PATCH_IMPORT(lost, ReadFile, [](auto...) -> WINBOOL {
        SetLastError(ERROR_NETNAME_DELETED);
        return FALSE;
    });
    EXPECT_THAT(FailureOf(Recording({1})), testing::StartsWith("line 1: ReadFile: "));
}

TEST_F(RecordingSourceTest, IsWholeThoughItGoesOnInTheNextFile) {
    Open(Line(EventAt(0, StartEvent())) + Line(EventAt(0, WorkerStartEvent{7})) +
             Line(EventAt(1, NoticeEvent{kContinuedNotice, "the recording goes on"})),
         std::nullopt);
    while (!m_source->End()) {
        m_source->OnTime(At(0ms));
    }
    EXPECT_EQ(m_source->End(), EndReason::kRecordingEnded);
    // What has ended stays as it ended.
    m_source->Stop();
    EXPECT_EQ(m_source->End(), EndReason::kRecordingEnded);
}

TEST_F(RecordingSourceTest, StaysBadWhenItIsStopped) {
    EXPECT_THAT(FailureOf("\xFE\xFF"), HasSubstr("UTF-16 text"));
    m_source->Stop();
    EXPECT_EQ(m_source->End(), EndReason::kRecordingBad);
}

}  // namespace
}  // namespace zorvane
