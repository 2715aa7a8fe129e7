#include "monitor/views/thinnedview.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Keeps the calls as short words.
class CCallView : public IView {
  public:
    explicit CCallView(std::vector<std::string>& calls) : m_calls(calls) {}

    void OnEvent(const Event& event, const CMachineModel&) override {
        const bool isCpu = std::holds_alternative<CpuTemperature>(event.body);
        const bool isGpu = std::holds_alternative<GpuReading>(event.body);
        m_calls.emplace_back(isCpu ? "cpu" : isGpu ? "gpu" : "other");
    }
    void OnRound(const CMachineModel&) override { m_calls.emplace_back("round"); }
    void OnChange(const CMachineModel&) override { m_calls.emplace_back("change"); }
    void OnEnd(const CMachineModel&) override { m_calls.emplace_back("end"); }

  private:
    std::vector<std::string>& m_calls;
};

class ThinnedViewTest : public testing::Test {
  protected:
    void Tell(std::chrono::milliseconds time, EventBody body) {
        m_view.OnEvent({TimeOfTest() + time, std::move(body)}, m_model);
    }

    // A round of a GPU and the CPU, with a redraw between them; what was shown of it.
    std::vector<std::string> Round(std::chrono::milliseconds time) {
        m_calls.clear();
        Tell(time, Reading(0, ""));
        m_view.OnChange(m_model);
        Tell(time + std::chrono::milliseconds(900), CpuTemperature{40});
        m_view.OnRound(m_model);
        return m_calls;
    }

    bool IsShown(std::chrono::milliseconds time) {
        const std::vector<std::string> calls = Round(time);
        return std::find(calls.begin(), calls.end(), "round") != calls.end();
    }

    CMachineModel m_model;
    std::vector<std::string> m_calls;
    CThinnedView m_view{std::make_unique<CCallView>(m_calls), std::chrono::seconds(3)};
};

TEST_F(ThinnedViewTest, ShowsARoundWholeOrNotAtAll) {
    EXPECT_THAT(Round(std::chrono::seconds(0)), ElementsAre("gpu", "change", "cpu", "round"));
    // The end of the first round is a change too.
    EXPECT_THAT(Round(std::chrono::seconds(1)), ElementsAre("change"));
    EXPECT_THAT(Round(std::chrono::seconds(2)), IsEmpty());
    EXPECT_THAT(Round(std::chrono::seconds(3)), ElementsAre("gpu", "change", "cpu", "round"));
}

TEST_F(ThinnedViewTest, TakesTheRoundNearestToTheTimeThatIsDue) {
    std::vector<int> shown;
    for (int time = 0; time < 10000; time += 980) {
        if (IsShown(std::chrono::milliseconds(time))) {
            shown.push_back(time);
        }
    }
    EXPECT_THAT(shown, ElementsAre(0, 2940, 5880, 8820));
}

TEST_F(ThinnedViewTest, ShowsEverythingElseAtOnce) {
    Round(std::chrono::seconds(0));
    m_calls.clear();
    Tell(std::chrono::seconds(1), Reading(0, ""));
    Tell(std::chrono::seconds(1), NoticeEvent());
    m_view.OnChange(m_model);
    m_view.OnEnd(m_model);
    EXPECT_THAT(m_calls, ElementsAre("other", "change", "end"));
}

TEST_F(ThinnedViewTest, ShowsTheFirstRoundOfANewWorkerAndAfterASilence) {
    EXPECT_TRUE(IsShown(std::chrono::seconds(0)));
    Tell(std::chrono::seconds(1), WorkerStartEvent{2});
    EXPECT_TRUE(IsShown(std::chrono::seconds(1)));
    EXPECT_FALSE(IsShown(std::chrono::seconds(2)));
    Tell(std::chrono::seconds(3), FreshEvent());
    EXPECT_TRUE(IsShown(std::chrono::seconds(3)));
}

TEST_F(ThinnedViewTest, GoesOnWhenTheClockIsSetBack) {
    EXPECT_TRUE(IsShown(std::chrono::hours(1)));
    EXPECT_TRUE(IsShown(std::chrono::seconds(0)));
    EXPECT_FALSE(IsShown(std::chrono::seconds(1)));
}

}  // namespace
}  // namespace zorvane
