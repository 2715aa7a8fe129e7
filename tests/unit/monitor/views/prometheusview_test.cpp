#include "monitor/views/prometheusview.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "monitor/metrics/prometheustext.h"
#include "tests/unit/monitor/outputs/keptoutput.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using testing::HasSubstr;
using testing::Not;

class PrometheusViewTest : public testing::Test {
  protected:
    void Tell(IView& view, EventBody body) {
        const Event event = EventAt(0, std::move(body));
        m_model.Apply(event);
        view.OnEvent(event, m_model);
    }

    CMachineModel m_model;
    CKeptOutput m_output;
};

TEST_F(PrometheusViewTest, PrintsABlockARoundWithABlankLineBetween) {
    CPrometheusBlocks view(m_output);
    Tell(view, FullReading());
    view.OnChange(m_model);
    view.OnRound(m_model);
    view.OnRound(m_model);
    view.OnEnd(m_model);
    EXPECT_THAT(m_output.texts,
                testing::ElementsAre(PrometheusText(m_model), "\n" + PrometheusText(m_model)));
}

TEST_F(PrometheusViewTest, WritesTheFileAtEachRoundAndWhenSomethingHappens) {
    CPrometheusFile view(m_output);
    Tell(view, WorkerStartEvent{1});
    Tell(view, HelloEvent{{L"x", 5}, 1});
    view.OnChange(m_model);
    EXPECT_EQ(m_output.texts.size(), 1u);
    Tell(view, FullReading());
    view.OnChange(m_model);
    EXPECT_EQ(m_output.texts.size(), 1u);
    view.OnRound(m_model);
    EXPECT_EQ(m_output.texts.size(), 2u);
    Tell(view, ExitEvent());
    view.OnChange(m_model);
    ASSERT_EQ(m_output.texts.size(), 3u);
    EXPECT_THAT(m_output.texts[1], HasSubstr("zorvane_gpu_temperature_celsius"));
    EXPECT_THAT(m_output.texts[2], Not(HasSubstr("zorvane_gpu_temperature_celsius")));
}

TEST_F(PrometheusViewTest, LeavesNoReadingInTheFileInTheEnd) {
    CPrometheusFile view(m_output);
    Tell(view, WorkerStartEvent{1});
    Tell(view, HelloEvent{{L"x", 5}, 1});
    Tell(view, FullReading());
    view.OnEnd(m_model);
    ASSERT_EQ(m_output.texts.size(), 1u);
    EXPECT_THAT(m_output.texts[0], HasSubstr("zorvane_up{worker=\"\"} 0\n"));
    EXPECT_THAT(m_output.texts[0], Not(HasSubstr("zorvane_gpu_temperature_celsius")));
    EXPECT_THAT(m_output.texts[0], HasSubstr("type=\"gpu\"} 1\n"));
    EXPECT_TRUE(m_output.isFinished);
}

TEST_F(PrometheusViewTest, LeavesNoPauseInTheFileInTheEnd) {
    CPrometheusFile view(m_output);
    Tell(view, PausedEvent());
    view.OnChange(m_model);
    view.OnEnd(m_model);
    ASSERT_EQ(m_output.texts.size(), 2u);
    EXPECT_THAT(m_output.texts[0], HasSubstr("zorvane_paused{worker=\"\"} 1\n"));
    EXPECT_THAT(m_output.texts[1], HasSubstr("zorvane_paused{worker=\"\"} 0\n"));
}

}  // namespace
}  // namespace zorvane
