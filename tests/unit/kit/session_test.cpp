// Sessions of the shipped client DLL, with a worker that behaves as told.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/handle.h"
#include "tests/unit/kit/clientlibrary.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr char kReporting[] = "hello\nstatic:1\ngpu:1\ncpu:{\"CpuTemp\":-4}";

zorvane::CUniqueHandle OpenWorker(const ZorvaneEvent& start) {
    return zorvane::CUniqueHandle(
        OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, start.workerId));
}

// The exit code of a process that ends within half a minute.
std::optional<DWORD> WaitForExit(HANDLE process) {
    DWORD code = 0;
    if (WaitForSingleObject(process, 30000) != WAIT_OBJECT_0 ||
        !GetExitCodeProcess(process, &code)) {
        return std::nullopt;
    }
    return code;
}

class KitSession : public testing::Test {
  protected:
    CClientLibrary m_library;
};

}  // namespace

TEST_F(KitSession, TellsReadingsWithTheirValidity) {
    const CTestSession session(m_library, kReporting,
                               [](ZorvaneOptions& options) { options.entry = "\xC3\xA4"; });
    ASSERT_EQ(m_library.start(session.Number()), ZorvaneResult{kZorvaneOk});
    const ZorvaneEvent start = session.Next();
    EXPECT_EQ(start.type, ZorvaneEventType{kZorvaneEventWorkerStart});
    EXPECT_NE(start.workerId, 0u);
    EXPECT_GT(start.timeMs, 1700000000000);
    const ZorvaneEvent hello = session.Next();
    EXPECT_EQ(hello.type, ZorvaneEventType{kZorvaneEventHello});
    EXPECT_STREQ(hello.entry.text, "\xC3\xA4");
    EXPECT_EQ(hello.entry.length, 2u);
    const ZorvaneEvent fixed = session.Next();
    EXPECT_EQ(fixed.type, ZorvaneEventType{kZorvaneEventGpuStatic});
    EXPECT_STREQ(fixed.gpu.driverVersion.text, "535.98");
    EXPECT_EQ(fixed.gpu.totalMemoryKiB.value, 24 << 20);
    EXPECT_FALSE(fixed.gpu.serial.valid);
    const ZorvaneEvent gpu = session.Next();
    EXPECT_EQ(gpu.type, ZorvaneEventType{kZorvaneEventGpu});
    EXPECT_EQ(gpu.size, sizeof(gpu));
    EXPECT_EQ(gpu.gpu.index, 1u);
    EXPECT_EQ(gpu.gpu.count, 2u);
    EXPECT_STREQ(gpu.gpu.name.text, "Fake GPU 1");
    EXPECT_STREQ(gpu.gpu.busId.text, "00000000:08:00.0");
    EXPECT_TRUE(gpu.gpu.temperatureCelsius.valid);
    EXPECT_EQ(gpu.gpu.temperatureCelsius.value, 51);
    EXPECT_EQ(gpu.gpu.clocksMHz[kZorvaneClockVideo].value, 1003);
    EXPECT_FALSE(gpu.gpu.driverVersion.valid);
    EXPECT_FALSE(gpu.cpuTemperatureCelsius.valid);
    const ZorvaneEvent cpu = session.Next();
    EXPECT_EQ(cpu.type, ZorvaneEventType{kZorvaneEventCpu});
    EXPECT_EQ(cpu.cpuTemperatureCelsius.value, -4);
}

TEST_F(KitSession, EndsAWorkerInOrder) {
    const CTestSession session(m_library, "hello");
    m_library.start(session.Number());
    ASSERT_EQ(session.NextOf(kZorvaneEventHello).type, ZorvaneEventType{kZorvaneEventHello});
    EXPECT_EQ(m_library.stop(session.Number()), ZorvaneResult{kZorvaneOk});
    const auto events = session.UntilEnd();
    ASSERT_THAT(TypesOf(events),
                ElementsAre(kZorvaneEventStopStep, kZorvaneEventWorkerExit, kZorvaneEventEnd));
    EXPECT_EQ(events[0].stopStep, ZorvaneStopStep{kZorvaneStopAsked});
    EXPECT_STREQ(events[0].text.text, "stop was asked for");
    EXPECT_EQ(events[1].exit.kind, ZorvaneExitKind{kZorvaneExitOrderly});
    EXPECT_EQ(events[1].exit.greeted, 1u);
    EXPECT_EQ(events[1].exit.asked, 1u);
    EXPECT_FALSE(events[1].exit.restartInMs.valid);
    EXPECT_STREQ(events[1].text.text, "ended in order (0)");
    EXPECT_EQ(events[2].endReason, ZorvaneEndReason{kZorvaneEndStopped});
    EXPECT_EQ(events[2].workerId, 0u);
}

TEST_F(KitSession, TellsACrashAndWhenTheNextWorkerComes) {
    const CTestSession session(m_library, "hello\ncrash");
    m_library.start(session.Number());
    const ZorvaneEvent exit = session.NextOf(kZorvaneEventWorkerExit);
    EXPECT_EQ(exit.exit.kind, ZorvaneExitKind{kZorvaneExitCrash});
    EXPECT_EQ(exit.exit.code, 0xC0000005u);
    EXPECT_EQ(exit.exit.restartInMs.value, 1000);
    EXPECT_THAT(exit.text.text, HasSubstr("access violation"));
    EXPECT_EQ(session.NextOf(kZorvaneEventHello).type, ZorvaneEventType{kZorvaneEventHello});
}

TEST_F(KitSession, LeavesACrashedWorkerWithoutRestart) {
    const CTestSession session(m_library, "hello\ncrash",
                               [](ZorvaneOptions& options) { options.flags = kZorvaneNoRestart; });
    m_library.start(session.Number());
    EXPECT_EQ(session.UntilEnd().back().endReason, ZorvaneEndReason{kZorvaneEndWorkerEnded});
}

TEST_F(KitSession, TellsASilenceAndEndsAHungWorkerByAllSteps) {
    const CTestSession session(m_library, "blind", [](ZorvaneOptions& options) {
        options.staleAfterMs = 50;
        options.restartAfterMs = 100;
        options.afterAskingMs = 20;
        options.afterWindowMs = 20;
        options.flags = kZorvaneNoRestart;
    });
    m_library.start(session.Number());
    const ZorvaneEvent start = session.Next();
    const auto events = session.UntilEnd();
    ASSERT_THAT(TypesOf(events),
                ElementsAre(kZorvaneEventStale, kZorvaneEventNotice, kZorvaneEventStopStep,
                            kZorvaneEventStopStep, kZorvaneEventStopStep, kZorvaneEventWorkerExit,
                            kZorvaneEventEnd));
    EXPECT_EQ(events[0].sinceMs, start.timeMs);
    EXPECT_STREQ(events[1].id.text, "worker.given_up");
    EXPECT_EQ(events[4].stopStep, ZorvaneStopStep{kZorvaneStopForced});
    EXPECT_EQ(events[5].exit.forced, 1u);
}

// The fake worker has loaded no library of the product, and so has no log.
TEST_F(KitSession, TellsWhySomethingIsMissing) {
    const CTestSession session(m_library, "hello\ngpu:1\nrepeat:100");
    m_library.start(session.Number());
    const ZorvaneEvent missing = session.NextOf(kZorvaneEventMissing);
    EXPECT_STREQ(missing.what.text, "log");
    EXPECT_STREQ(missing.id.text, "log.unknown_place");
    EXPECT_THAT(missing.text.text, HasSubstr("its log cannot be found"));
    EXPECT_THAT(missing.remedy.text, HasSubstr("Qorvella_HardwareDll.log"));
}

TEST_F(KitSession, TellsWhichCallFailedWhenThereIsNoHost) {
    const CTestSession session(m_library, "",
                               [](ZorvaneOptions& options) { options.host = "Z:\\missing.exe"; });
    EXPECT_EQ(m_library.start(session.Number()), ZorvaneResult{kZorvaneOk});
    const auto events = session.UntilEnd();
    ASSERT_THAT(TypesOf(events), ElementsAre(kZorvaneEventStartFailed, kZorvaneEventEnd));
    EXPECT_STREQ(events[0].call.text, "CreateProcessW Z:\\missing.exe");
    EXPECT_EQ(events[0].code, DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_THAT(events[0].text.text, HasSubstr("(2)"));
    EXPECT_EQ(events[1].endReason, ZorvaneEndReason{kZorvaneEndNotStarted});
}

TEST_F(KitSession, RunsNoWorkerWhilePaused) {
    const CTestSession session(m_library, "hello");
    m_library.start(session.Number());
    session.NextOf(kZorvaneEventHello);
    EXPECT_EQ(m_library.pause(session.Number()), ZorvaneResult{kZorvaneOk});
    const ZorvaneEvent exit = session.NextOf(kZorvaneEventWorkerExit);
    EXPECT_EQ(exit.exit.kind, ZorvaneExitKind{kZorvaneExitOrderly});
    EXPECT_EQ(session.Next().type, ZorvaneEventType{kZorvaneEventPaused});
    EXPECT_EQ(m_library.resume(session.Number()), ZorvaneResult{kZorvaneOk});
    EXPECT_EQ(session.Next().type, ZorvaneEventType{kZorvaneEventResumed});
    EXPECT_EQ(session.NextOf(kZorvaneEventHello).type, ZorvaneEventType{kZorvaneEventHello});
}

TEST_F(KitSession, ReplacesAWorkerAtItsGreatestAge) {
    const CTestSession session(m_library, "hello", [](ZorvaneOptions& options) {
        options.maxAgeSeconds = 1;
        options.staleAfterMs = 1000;
    });
    m_library.start(session.Number());
    const ZorvaneEvent start = session.NextOf(kZorvaneEventWorkerStart);
    EXPECT_STREQ(session.NextOf(kZorvaneEventNotice).id.text, "worker.max_age");
    const ZorvaneEvent exit = session.NextOf(kZorvaneEventWorkerExit);
    EXPECT_EQ(exit.exit.kind, ZorvaneExitKind{kZorvaneExitOrderly});
    EXPECT_EQ(exit.exit.restartInMs.valid, 1u);
    EXPECT_NE(session.NextOf(kZorvaneEventWorkerStart).workerId, start.workerId);
}

TEST_F(KitSession, CanBeStartedAgainAfterItsEndAndNotBefore) {
    const CTestSession session(m_library, "hello");
    EXPECT_EQ(m_library.start(session.Number()), ZorvaneResult{kZorvaneOk});
    EXPECT_EQ(m_library.start(session.Number()), ZorvaneResult{kZorvaneRunning});
    m_library.stop(session.Number());
    EXPECT_EQ(session.UntilEnd().back().type, ZorvaneEventType{kZorvaneEventEnd});
    EXPECT_EQ(m_library.start(session.Number()), ZorvaneResult{kZorvaneOk});
    EXPECT_EQ(session.NextOf(kZorvaneEventHello).type, ZorvaneEventType{kZorvaneEventHello});
}

TEST_F(KitSession, CountsEveryReadingAsToldOrDropped) {
    const CTestSession session(
        m_library, "hello\ngpu:0\ngpu:1\ngpu:0\ngpu:1\ngpu:0\ngpu:1\ngpu:0\ngpu:1\nexit:0",
        [](ZorvaneOptions& options) { options.queueLength = 2; });
    m_library.start(session.Number());
    const auto worker = OpenWorker(session.Next());
    EXPECT_EQ(WaitForExit(worker.get()), 0u);
    const auto events = session.UntilEnd();
    const auto told = std::count_if(events.begin(), events.end(), [](const ZorvaneEvent& event) {
        return event.type == kZorvaneEventGpu;
    });
    EXPECT_EQ(static_cast<uint64_t>(told) + events.back().dropped, 8u);
    EXPECT_EQ(events.front().type, ZorvaneEventType{kZorvaneEventHello});
}

TEST_F(KitSession, LetsGoOfAWorkerThatRunsWhenItIsClosed) {
    const CTestSession session(m_library, "hello");
    m_library.start(session.Number());
    const auto worker = OpenWorker(session.Next());
    session.NextOf(kZorvaneEventHello);
    EXPECT_EQ(m_library.close(session.Number()), ZorvaneResult{kZorvaneOk});
    EXPECT_EQ(WaitForExit(worker.get()), 0u);
    EXPECT_EQ(m_library.close(session.Number()), ZorvaneResult{kZorvaneNoSession});
    EXPECT_EQ(m_library.start(session.Number()), ZorvaneResult{kZorvaneNoSession});
}

TEST_F(KitSession, AnswersAtOnceWhereNobodyWantsToWait) {
    const CTestSession session(m_library, "");
    ZorvaneEvent event{};
    event.size = sizeof(event);
    EXPECT_EQ(m_library.nextEvent(session.Number(), &event, 0), ZorvaneResult{kZorvaneTimeout});
}

TEST_F(KitSession, FillsMembersOfALaterVersionWithZero) {
    const CTestSession session(m_library, "hello");
    m_library.start(session.Number());
    struct {
        ZorvaneEvent event;
        char later[16];
        char behind;
    } larger{};
    memset(larger.later, 'x', sizeof(larger.later));
    larger.behind = 'x';
    larger.event.size = sizeof(ZorvaneEvent) + sizeof(larger.later);
    ASSERT_EQ(m_library.nextEvent(session.Number(), &larger.event, ZORVANE_NO_LIMIT),
              ZorvaneResult{kZorvaneOk});
    EXPECT_EQ(larger.event.size, sizeof(ZorvaneEvent) + sizeof(larger.later));
    EXPECT_EQ(larger.later[0], '\0');
    EXPECT_EQ(larger.later[15], '\0');
    EXPECT_EQ(larger.behind, 'x');
}
