#include "monitor/sources/gpufilter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kOne[] = "00000000:01:00.0";
constexpr char kTen[] = "00000000:0A:00.0";

// Gives its events at the start.
class CStartSource : public ISource {
  public:
    explicit CStartSource(std::vector<EventBody> bodies) : m_bodies(std::move(bodies)) {}

    void Start(IEventSink& sink, Moment) override {
        for (const EventBody& body : m_bodies) {
            sink.OnEvent(EventAt(0, body));
        }
    }
    void OnTime(Moment) override {}
    std::optional<std::chrono::milliseconds> DueTick() const override { return std::nullopt; }
    void Stop() override {}
    std::optional<EndReason> End() const override { return std::nullopt; }

  private:
    const std::vector<EventBody> m_bodies;
};

class GpuFilterTest : public testing::Test, private IEventSink {
  protected:
    // What comes through, as words: "gpu 0", "static 1", "cpu", a notice's text.
    std::vector<std::string> Through(const std::string& choice, std::vector<EventBody> bodies) {
        m_told.clear();
        CStartSource source(std::move(bodies));
        CGpuFilter(source, *ParseGpuChoice(choice)).Start(*this, {});
        return m_told;
    }

    void OnEvent(const Event& event) override {
        if (const auto* reading = std::get_if<GpuReading>(&event.body)) {
            m_told.push_back("gpu " + std::to_string(reading->index));
        } else if (const auto* fixed = std::get_if<GpuStatic>(&event.body)) {
            m_told.push_back("static " + std::to_string(fixed->first.index));
        } else if (const auto* notice = std::get_if<NoticeEvent>(&event.body)) {
            m_told.push_back(notice->text);
        } else if (std::holds_alternative<CpuTemperature>(event.body)) {
            m_told.emplace_back("cpu");
        } else if (!std::holds_alternative<WorkerStartEvent>(event.body)) {
            m_told.emplace_back("other");
        }
    }

    static GpuStatic Static(uint32_t index, const std::string& busId) {
        GpuStatic fixed;
        fixed.first = Reading(index, busId);
        fixed.first.pci->bus = busId == kOne ? 1 : 10;
        return fixed;
    }

  private:
    std::vector<std::string> m_told;
};

TEST_F(GpuFilterTest, PassesOnOneGpuAndAllThatIsOfNone) {
    const std::vector<EventBody> bodies = {
        WorkerStartEvent{1},
        Static(0, kOne),
        Static(1, kTen),
        Reading(0, kOne),
        Reading(1, kTen),
        CpuTemperature{40},
        GpuLostEvent{{0, kOne}},
        GpuBackEvent{{1, kTen}},
        WarningEvent{"gpu.temp", GpuId{0, kOne}, 1, 2, true},
        WarningEvent{"cpu.temp", std::nullopt, 1, 2, true},
    };
    const auto tenOnly = ElementsAre("static 1", "gpu 1", "cpu", "other", "other");
    for (const char* choice : {"1", "0A:00", "a:0.0", "0000:0a:00.0", kTen}) {
        EXPECT_THAT(Through(choice, bodies), tenOnly) << choice;
    }
}

TEST_F(GpuFilterTest, FindsAGpuThatLosesItsBusIdUntilItsWorkerEnds) {
    EXPECT_THAT(Through("0A:00.0", {WorkerStartEvent{1}, Static(1, kTen), Reading(1, ""),
                                    GpuLostEvent{{1, std::nullopt}}}),
                ElementsAre("static 1", "gpu 1", "other"));
    EXPECT_THAT(Through("0A:00.0", {Static(1, kTen), WorkerStartEvent{1}, Reading(1, "")}),
                ElementsAre("static 1"));
}

TEST_F(GpuFilterTest, SaysOnceThatThereIsNoSuchGpu) {
    EXPECT_THAT(Through("7", {Reading(0, kOne), Reading(1, "")}), IsEmpty());
    EXPECT_THAT(Through("7", {Reading(0, kOne), Reading(1, ""), Reading(0, kOne), Reading(1, ""),
                              Reading(0, kOne)}),
                ElementsAre("no GPU 7 has reported; there are: 0 (00000000:01:00.0), 1"));
    EXPECT_THAT(
        Through("1", {Reading(0, kOne), Reading(1, ""), Reading(0, kOne), Reading(0, kOne)}),
        ElementsAre("gpu 1"));
}

TEST(GpuChoiceTest, TakesIndicesAndBusIdsAndNothingElse) {
    EXPECT_EQ(std::get<uint32_t>(ParseGpuChoice("10")->which), 10u);
    EXPECT_EQ(std::get<GpuChoice::Location>(ParseGpuChoice("2:1F:03.0")->which),
              (GpuChoice::Location{2, 0x1F, 3}));
    for (const char* text : {"", "x", "-1", "1:", ":1", "1:2:3:4", "g:0", "1,2", "99999999999"}) {
        EXPECT_FALSE(ParseGpuChoice(text)) << text;
    }
}

}  // namespace
}  // namespace zorvane
