#include "monitor/sources/warningsource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

// A source that gives what the test hands to it.
class CHandedSource : public ISource {
  public:
    void Start(IEventSink& sink, Moment) override { m_sink = &sink; }
    void OnTime(Moment) override {}
    std::optional<std::chrono::milliseconds> DueTick() const override { return {}; }
    void Stop() override { ++stops; }
    std::optional<EndReason> End() const override { return {}; }

    void Give(int seconds, EventBody body) { m_sink->OnEvent(EventAt(seconds, std::move(body))); }

    int stops = 0;

  private:
    IEventSink* m_sink = nullptr;
};

class WarningSourceTest : public testing::Test, public IEventSink {
  protected:
    void SetUp() override { m_source.Start(*this, Moment()); }

    void OnEvent(const Event& event) override {
        m_events.push_back(event);
        if (m_stopsAtReading && std::holds_alternative<CpuTemperature>(event.body)) {
            m_source.Stop();
        }
    }

    CHandedSource m_inner;
    CWarningSource m_source{m_inner, {{"cpu.temp", 80}}};
    std::vector<Event> m_events;
    bool m_stopsAtReading = false;
};

TEST_F(WarningSourceTest, PutsAWarningBehindTheReadingAtItsTime) {
    m_inner.Give(1, StartEvent());
    m_inner.Give(7, CpuTemperature{81});
    ASSERT_EQ(m_events.size(), 3u);
    EXPECT_TRUE(std::holds_alternative<CpuTemperature>(m_events[1].body));
    const auto* warning = std::get_if<WarningEvent>(&m_events[2].body);
    ASSERT_TRUE(warning);
    EXPECT_EQ(m_events[2].time, TimeOfTest(7));
    EXPECT_EQ(warning->what, "cpu.temp");
    EXPECT_FALSE(warning->gpu);
    EXPECT_TRUE(warning->over);
}

TEST_F(WarningSourceTest, LeavesTheWarningsOfARecordingOut) {
    m_inner.Give(1, WarningEvent{"gpu.temp", GpuId{}, 90, 85, true});
    EXPECT_TRUE(m_events.empty());
}

TEST_F(WarningSourceTest, WarnsOfNoReadingThatEndedTheRun) {
    m_stopsAtReading = true;
    m_inner.Give(1, CpuTemperature{99});
    EXPECT_EQ(m_events.size(), 1u);
    EXPECT_EQ(m_inner.stops, 1);
}

}  // namespace
}  // namespace zorvane
