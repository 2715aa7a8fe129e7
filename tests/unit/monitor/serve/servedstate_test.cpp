#include "monitor/serve/servedstate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/monitor/readings.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace zorvane {
namespace {

class ServedStateTest : public testing::Test {
  protected:
    Answer Get(const std::string& target) const {
        RequestFacts request = Request(target);
        return m_state.Respond(request);
    }

    static RequestFacts Request(const std::string& target) {
        RequestFacts request;
        request.method = "GET";
        request.target = target;
        request.host = "127.0.0.1:9836";
        return request;
    }

    static std::string BodyOf(const Answer& answer) {
        std::string body;
        for (const SharedText& piece : answer.body) {
            body += *piece;
        }
        return body + std::string(answer.fixedBody);
    }

    static std::string HeaderOf(const Answer& answer, const std::string& name) {
        for (const auto& [key, value] : answer.headers) {
            if (key == name) {
                return value;
            }
        }
        return "";
    }

    void AddReading(int second) {
        m_state.Add(EventAt(second, Reading(0, "bus")), "{\"n\":" + std::to_string(second) + "}\n");
    }

    CServedState m_state{{{"127.0.0.1", 9836}, {}}, {}, "run"};
};

TEST_F(ServedStateTest, ServesThePageWithItsParts) {
    EXPECT_THAT(BodyOf(Get("/")), StartsWith("<!doctype html>"));
    EXPECT_THAT(BodyOf(Get("/")), HasSubstr("<script src=\"page.js\">"));
    EXPECT_THAT(BodyOf(Get("/page.js")), HasSubstr("class Machine"));
    EXPECT_THAT(BodyOf(Get("/charts.js")), HasSubstr("Dygraph"));
    EXPECT_THAT(Get("/page.css").contentType, StartsWith("text/css"));
}

TEST_F(ServedStateTest, HasNoScriptOrStyleInThePageItself) {
    const std::string page = BodyOf(Get("/"));
    EXPECT_EQ(page.find("<style"), std::string::npos);
    EXPECT_EQ(page.find("<script>"), std::string::npos);
    EXPECT_EQ(page.find('@'), std::string::npos);
}

TEST_F(ServedStateTest, GivesTheHistoryAndWhereItEnds) {
    AddReading(1);
    AddReading(2);
    const Answer answer = Get("/history");
    EXPECT_EQ(BodyOf(answer), "{\"n\":1}\n{\"n\":2}\n");
    EXPECT_EQ(HeaderOf(answer, "Zorvane-Last-Event"), "run.2");
}

TEST_F(ServedStateTest, GoesOnWithAStreamWhereTheReaderWas) {
    AddReading(1);
    AddReading(2);
    const Answer answer = Get("/events?after=run.1");
    EXPECT_TRUE(answer.isStream);
    EXPECT_THAT(BodyOf(answer), testing::EndsWith("\n\nid: run.2\ndata: {\"n\":2}\n\n"));
    RequestFacts again = Request("/events?after=run.1");
    again.lastEventId = "run.2";
    EXPECT_EQ(BodyOf(m_state.Respond(again)).find("data: "), std::string::npos);
}

TEST_F(ServedStateTest, TellsAReaderOfAnotherRunToBeginAnew) {
    AddReading(1);
    for (const char* id : {"other.1", "run.9", "run.", "run.x", "1", "%0a"}) {
        EXPECT_THAT(BodyOf(Get(std::string("/events?after=") + id)), HasSubstr("event: reset"))
            << id;
    }
}

TEST_F(ServedStateTest, FramesEachEventForTheStreams) {
    const SharedText framed = m_state.Add(EventAt(0, CpuTemperature{50}), "{}\n");
    EXPECT_EQ(*framed, "id: run.1\ndata: {}\n\n");
}

TEST_F(ServedStateTest, EndsARecordingSoThatItIsWhole) {
    AddReading(1);
    const Answer answer = Get("/recording.jsonl");
    EXPECT_THAT(BodyOf(answer), StartsWith("{\"n\":1}\n"));
    EXPECT_THAT(BodyOf(answer), HasSubstr("\"id\":\"recording.continued\""));
    EXPECT_THAT(HeaderOf(answer, "Content-Disposition"), StartsWith("attachment"));
}

TEST_F(ServedStateTest, IsHealthyWhileThereAreReadings) {
    EXPECT_EQ(Get("/healthz").status, 503u);
    ServedTexts texts;
    texts.trouble = "";
    m_state.SetTexts(texts);
    EXPECT_EQ(Get("/healthz").status, 200u);
    EXPECT_EQ(BodyOf(Get("/healthz")), "ok\n");
}

TEST_F(ServedStateTest, GivesTheMetricsInTheFormThatIsAskedFor) {
    ServedTexts texts;
    texts.prometheus = std::make_shared<const std::string>("plain");
    texts.openMetrics = std::make_shared<const std::string>("open");
    m_state.SetTexts(texts);
    EXPECT_EQ(BodyOf(Get("/metrics")), "plain");
    EXPECT_THAT(Get("/metrics").contentType, HasSubstr("version=0.0.4"));
    RequestFacts open = Request("/metrics");
    open.accept = "application/openmetrics-text;version=1.0.0,text/plain;q=0.5";
    EXPECT_EQ(BodyOf(m_state.Respond(open)), "open");
}

TEST_F(ServedStateTest, RefusesBeforeItLooksForThePlace) {
    RequestFacts foreign = Request("/nothing");
    foreign.host = "evil.example";
    EXPECT_EQ(m_state.Respond(foreign).status, 421u);
    EXPECT_EQ(Get("/nothing").status, 404u);
    RequestFacts post = Request("/history");
    post.method = "POST";
    EXPECT_EQ(HeaderOf(m_state.Respond(post), "Allow"), "GET, HEAD");
}

TEST_F(ServedStateTest, LetsAReaderBeginAnewWhoseLastEventIsNone) {
    AddReading(1);
    for (const char* id :
         {"run.", "run.1x", "run.x", "run", "other.1", "run.99999999999999999999"}) {
        RequestFacts request = Request("/events");
        request.lastEventId = id;
        EXPECT_THAT(BodyOf(m_state.Respond(request)), HasSubstr("event: reset\n")) << id;
    }
    RequestFacts request = Request("/events");
    request.lastEventId = "run.1";
    EXPECT_THAT(BodyOf(m_state.Respond(request)), testing::Not(HasSubstr("event: reset\n")));
}

TEST_F(ServedStateTest, HasNoMetricsBeforeTheFirstAreMade) {
    EXPECT_EQ(Get("/metrics").status, 200u);
    EXPECT_EQ(BodyOf(Get("/metrics")), "");
}

TEST(ServedReport, HasWhatDoctorSaysWhereItIsAsked) {
    const CServedState state({{"127.0.0.1", 9836}, {}}, {}, "run", [] {
        return std::string(R"({"checks": [], "readings": [], "host": "asked"})");
    });
    RequestFacts request;
    request.method = "GET";
    request.target = "/report.html";
    request.host = "127.0.0.1:9836";
    EXPECT_THAT(*state.Respond(request).makeBody(), HasSubstr("\"asked\""));
}

}  // namespace
}  // namespace zorvane
