#include "monitor/views/jsonview.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/unit/monitor/outputs/keptoutput.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using testing::ElementsAre;
using JsonLines = std::vector<nlohmann::json>;

// Asks for the frame at each text, as a file does that begins anew with it.
class CAskingOutput : public CKeptOutput {
  public:
    void Write(std::string_view text) override {
        head = frame->Head();
        tail = frame->Tail();
        CKeptOutput::Write(text);
    }

    std::string head;
    std::string tail;
};

JsonLines ParsedLines(const std::string& text) {
    JsonLines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(nlohmann::json::parse(line));
    }
    return lines;
}

std::vector<std::string> Types(const std::string& text) {
    std::vector<std::string> types;
    for (const nlohmann::json& line : ParsedLines(text)) {
        types.push_back(line.at("type"));
    }
    return types;
}

class JsonViewTest : public testing::Test {
  protected:
    void Tell(int seconds, EventBody body) {
        const Event event = EventAt(seconds, std::move(body));
        m_model.Apply(event);
        m_view.OnEvent(event, m_model);
    }

    CMachineModel m_model;
    CAskingOutput m_output;
    CJsonView m_view{m_output};
};

TEST_F(JsonViewTest, BeginsAFurtherFileAsARecordingOfItsOwn) {
    StartEvent start;
    start.entry = "office";
    Tell(0, start);
    EXPECT_EQ(m_output.head, "");
    Tell(1, WorkerStartEvent{312});
    Tell(1, HelloEvent{{L"office", 5}, 312});
    Tell(1, FullStatic());
    Tell(1, MissingEvent{"cpu", "id", "", "text", ""});
    Tell(90, FullReading());
    EXPECT_THAT(Types(m_output.head),
                ElementsAre("start", "worker_start", "hello", "gpu_static", "missing"));
    for (const nlohmann::json& line : ParsedLines(m_output.head)) {
        EXPECT_EQ(line.at("time"), Rfc3339(TimeOfTest(90)));
        EXPECT_EQ(line.at("entry"), "office");
    }
    EXPECT_EQ(ParsedLines(m_output.tail).at(0).at("id"), kContinuedNotice);
}

TEST_F(JsonViewTest, BeginsAFurtherFileWithThePauseThatLasts) {
    Tell(0, StartEvent());
    Tell(1, PausedEvent());
    Tell(90, NoticeEvent{"id", "text"});
    EXPECT_THAT(Types(m_output.head), ElementsAre("start", "paused"));
}

TEST_F(JsonViewTest, TellsOfNoWorkerThatHasEnded) {
    Tell(0, StartEvent());
    Tell(1, WorkerStartEvent{312});
    Tell(2, ExitEvent());
    Tell(3, NoticeEvent());
    EXPECT_THAT(Types(m_output.head), ElementsAre("start"));
}

TEST_F(JsonViewTest, FinishesItsOutput) {
    m_view.OnEnd(m_model);
    EXPECT_TRUE(m_output.isFinished);
}

TEST_F(JsonViewTest, AddsNothingToAFileBeforeTheStartOrBetweenEvents) {
    Tell(0, NoticeEvent{"id", "text"});
    EXPECT_EQ(m_output.head, "");
    EXPECT_EQ(m_output.tail, "");
    Tell(1, StartEvent());
    EXPECT_EQ(m_output.frame->Head(), "");
    EXPECT_EQ(m_output.frame->Tail(), "");
}

}  // namespace
}  // namespace zorvane
