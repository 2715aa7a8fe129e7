#include "client/c/fillevent.h"

#include <gtest/gtest.h>

#include "tests/unit/client/readings.h"

namespace zorvane {
namespace {

ZorvaneEvent Filled(SessionEventBody body) {
    return ToCEvent({{TimeOfTest(), std::move(body)}, 77}, 5);
}

TEST(FillEventTest, FillsWhatEveryEventHas) {
    const ZorvaneEvent event = Filled(PausedEvent{});
    EXPECT_EQ(event.size, sizeof(event));
    EXPECT_EQ(event.type, ZorvaneEventType{kZorvaneEventPaused});
    EXPECT_EQ(event.timeMs, 1732164131123);
    EXPECT_EQ(event.workerId, 77u);
    EXPECT_EQ(event.dropped, 5u);
}

TEST(FillEventTest, GivesEveryEventItsType) {
    const std::pair<SessionEventBody, ZorvaneEventType> rows[] = {
        {WorkerStartEvent{}, kZorvaneEventWorkerStart},
        {HelloEvent{}, kZorvaneEventHello},
        {GpuStatic{}, kZorvaneEventGpuStatic},
        {GpuReading{}, kZorvaneEventGpu},
        {CpuTemperature{}, kZorvaneEventCpu},
        {CpuUnreadEvent{}, kZorvaneEventCpu},
        {ErrorEvent{}, kZorvaneEventError},
        {MissingEvent{}, kZorvaneEventMissing},
        {StaleEvent{}, kZorvaneEventStale},
        {FreshEvent{}, kZorvaneEventFresh},
        {GpuLostEvent{}, kZorvaneEventGpuLost},
        {GpuBackEvent{}, kZorvaneEventGpuBack},
        {NoticeEvent{}, kZorvaneEventNotice},
        {StopStepEvent{}, kZorvaneEventStopStep},
        {ExitEvent{}, kZorvaneEventWorkerExit},
        {PausedEvent{}, kZorvaneEventPaused},
        {ResumedEvent{}, kZorvaneEventResumed},
        {StartFailedEvent{}, kZorvaneEventStartFailed},
        {EndEvent{}, kZorvaneEventEnd}};
    static_assert(std::size(rows) == std::variant_size_v<SessionEventBody>);
    for (const auto& [body, type] : rows) {
        EXPECT_EQ(Filled(body).type, type) << "alternative " << body.index();
    }
}

TEST(FillEventTest, FillsSinceWhenNothingCame) {
    EXPECT_EQ(Filled(StaleEvent{TimeOfTest()}).sinceMs, 1732164131123);
    EXPECT_EQ(Filled(FreshEvent{TimeOfTest()}).sinceMs, 1732164131123);
}

TEST(FillEventTest, FillsNoticesAndStepsOfAStop) {
    const ZorvaneEvent notice = Filled(NoticeEvent{"log_full", "The log is full"});
    EXPECT_STREQ(notice.id.text, "log_full");
    EXPECT_STREQ(notice.text.text, "The log is full");
    const ZorvaneEvent step = Filled(StopStepEvent{StopStep::kForced, "It hangs"});
    EXPECT_EQ(step.stopStep, static_cast<uint32_t>(StopStep::kForced));
    EXPECT_STREQ(step.text.text, "It hangs");
}

TEST(FillEventTest, MarksWhatWasNotRead) {
    GpuReading reading = FullReading();
    reading.name.reset();
    reading.pci.reset();
    reading.fanSpeedPercent.reset();
    reading.clocksMHz[kClockSm].reset();
    const ZorvaneGpu gpu = Filled(reading).gpu;
    EXPECT_FALSE(gpu.name.valid);
    EXPECT_STREQ(gpu.name.text, "");
    EXPECT_FALSE(gpu.busId.valid);
    EXPECT_FALSE(gpu.pciBus.valid);
    EXPECT_FALSE(gpu.fanSpeedPercent.valid);
    EXPECT_EQ(gpu.fanSpeedPercent.value, 0);
    EXPECT_FALSE(gpu.clocksMHz[kZorvaneClockSm].valid);
    EXPECT_EQ(gpu.clocksMHz[kZorvaneClockGraphics].value, 1800);
    EXPECT_EQ(gpu.temperatureCelsius.value, 58);
}

TEST(FillEventTest, FillsTheEntryOfEveryRecord) {
    GpuStatic fixed = FullStatic();
    fixed.first.entry = L"\u00e4";
    EXPECT_STREQ(Filled(fixed).entry.text, "\xC3\xA4");
    EXPECT_STREQ(Filled(fixed.first).entry.text, "\xC3\xA4");
}

TEST(FillEventTest, FillsWhatDoesNotChange) {
    const ZorvaneEvent event = Filled(FullStatic());
    EXPECT_EQ(event.type, ZorvaneEventType{kZorvaneEventGpuStatic});
    EXPECT_EQ(event.gpu.totalMemoryKiB.value, 24564 * 1024);
    EXPECT_STREQ(event.gpu.serial.text, "1320");
    EXPECT_STREQ(event.gpu.vbiosVersion.text, "95.02");
    EXPECT_EQ(event.gpu.maxClocksMHz[kZorvaneClockMemory].value, 10501);
    EXPECT_FALSE(event.gpu.maxClocksMHz[kZorvaneClockVideo].valid);
    EXPECT_EQ(event.gpu.pciDeviceId.value, 0x268410DE);
}

TEST(FillEventTest, FillsWhatIsMissingAndWhy) {
    const ZorvaneEvent event =
        Filled(MissingEvent{"cpu", "amd.not_admin", "rights", "Why.", "Do."});
    EXPECT_EQ(event.type, ZorvaneEventType{kZorvaneEventMissing});
    EXPECT_STREQ(event.what.text, "cpu");
    EXPECT_STREQ(event.id.text, "amd.not_admin");
    EXPECT_STREQ(event.brief.text, "rights");
    EXPECT_STREQ(event.text.text, "Why.");
    EXPECT_STREQ(event.remedy.text, "Do.");
}

TEST(FillEventTest, FillsErrorsAndLostGpus) {
    const ZorvaneEvent error = Filled(ErrorEvent{{PayloadFault::kBadText, "text"}, 3});
    EXPECT_EQ(error.fault, ZorvaneFault{kZorvaneFaultBadText});
    EXPECT_STREQ(error.id.text, "bad_text");
    EXPECT_EQ(error.leftOut, 3u);
    const ZorvaneEvent lost = Filled(GpuLostEvent{{1, "00000000:01:00.0"}});
    EXPECT_EQ(lost.type, ZorvaneEventType{kZorvaneEventGpuLost});
    EXPECT_EQ(lost.gpu.index, 1u);
    EXPECT_STREQ(lost.gpu.busId.text, "00000000:01:00.0");
    EXPECT_EQ(Filled(GpuBackEvent{{2, std::nullopt}}).gpu.index, 2u);
}

TEST(FillEventTest, CutsTextsBetweenCharacters) {
    // Two bytes a character, and one byte too many before them.
    std::string text = "x";
    while (text.size() < 200) {
        text += "\xC3\xA4";
    }
    ZorvaneText field{};
    PutText(field, text);
    EXPECT_EQ(field.length, 119u);
    EXPECT_EQ(std::string(field.text), text.substr(0, 119));
    PutText(field, text.substr(1));
    EXPECT_EQ(field.length, 118u);
    EXPECT_EQ(std::string(field.text), text.substr(1, 118));
    PutText(field, std::string(119, 'y'));
    EXPECT_EQ(field.length, 119u);
}

TEST(FillEventTest, KeepsTextsThatClaimToContinueAForeignCharacter) {
    ZorvaneText field{};
    PutText(field, std::string(300, '\x80'));
    EXPECT_EQ(field.length, 0u);
    EXPECT_EQ(field.valid, 1u);
}

}  // namespace
}  // namespace zorvane
