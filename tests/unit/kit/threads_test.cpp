// The client DLL in programs with several threads, sessions and copies of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "base/handle.h"
#include "tests/unit/kit/clientlibrary.h"

using testing::ElementsAre;

namespace {

// What a callback was told, and on which threads.
struct CallbackRecord {
    CClientLibrary* library = nullptr;
    ZorvaneSession session = 0;
    std::vector<ZorvaneEventType> types;
    std::vector<DWORD> threads;
    zorvane::CUniqueHandle ended{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    ZorvaneResult closed = 0xFFFF;

    bool WaitForEnd() const { return WaitForSingleObject(ended.get(), 30000) == WAIT_OBJECT_0; }
};

void Record(void* context, const ZorvaneEvent* event) {
    auto& record = *static_cast<CallbackRecord*>(context);
    record.types.push_back(event->type);
    record.threads.push_back(GetCurrentThreadId());
    if (event->type == kZorvaneEventHello) {
        record.library->stop(record.session);
    }
    if (event->type == kZorvaneEventEnd) {
        SetEvent(record.ended.get());
    }
}

void CloseAtHello(void* context, const ZorvaneEvent* event) {
    auto& record = *static_cast<CallbackRecord*>(context);
    record.types.push_back(event->type);
    if (event->type == kZorvaneEventHello) {
        record.closed = record.library->close(record.session);
        SetEvent(record.ended.get());
    }
}

CTestSession WithCallback(CallbackRecord& record, ZorvaneCallback callback,
                          const std::string& script) {
    return CTestSession(*record.library, script, [&](ZorvaneOptions& options) {
        options.callback = callback;
        options.context = &record;
    });
}

// The whole life of a session, in one thread.
bool LivesThrough(CClientLibrary& library) {
    const CTestSession session(library, "hello\ngpu:0");
    library.start(session.Number());
    const bool hasReading = session.NextOf(kZorvaneEventGpu).type == kZorvaneEventGpu;
    library.stop(session.Number());
    return hasReading && session.UntilEnd().back().endReason == kZorvaneEndStopped;
}

}  // namespace

TEST(KitThreads, CallsBackOnOneThreadOfTheSessions) {
    CClientLibrary library;
    CallbackRecord record;
    record.library = &library;
    const CTestSession session = WithCallback(record, &Record, "hello");
    record.session = session.Number();
    ZorvaneEvent event{};
    event.size = sizeof(event);
    EXPECT_EQ(library.nextEvent(session.Number(), &event, 0), ZorvaneResult{kZorvaneHasCallback});
    library.start(session.Number());
    ASSERT_TRUE(record.WaitForEnd());
    EXPECT_THAT(record.types,
                ElementsAre(kZorvaneEventWorkerStart, kZorvaneEventHello, kZorvaneEventStopStep,
                            kZorvaneEventWorkerExit, kZorvaneEventEnd));
    EXPECT_NE(record.threads.front(), GetCurrentThreadId());
    EXPECT_THAT(record.threads, testing::Each(record.threads.front()));
}

TEST(KitThreads, CanBeClosedFromItsCallback) {
    CClientLibrary library;
    CallbackRecord record;
    record.library = &library;
    const CTestSession session = WithCallback(record, &CloseAtHello, "hello\nstatic:0\ngpu:0");
    record.session = session.Number();
    library.start(session.Number());
    ASSERT_TRUE(record.WaitForEnd());
    EXPECT_EQ(record.closed, ZorvaneResult{kZorvaneOk});
    EXPECT_EQ(library.stop(session.Number()), ZorvaneResult{kZorvaneNoSession});
    EXPECT_THAT(record.types, ElementsAre(kZorvaneEventWorkerStart, kZorvaneEventHello));
}

TEST(KitThreads, EndsAWaitWhenAnotherThreadClosesTheSession) {
    CClientLibrary library;
    // Nothing shows that the other thread waits already, so a round may prove nothing.
    for (int round = 0; round < 20; ++round) {
        const CTestSession session(library, "");
        const zorvane::CUniqueHandle calls(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        ZorvaneResult result = 0xFFFF;
        std::thread waiting([&] {
            ZorvaneEvent event{};
            event.size = sizeof(event);
            SetEvent(calls.get());
            result = library.nextEvent(session.Number(), &event, ZORVANE_NO_LIMIT);
        });
        WaitForSingleObject(calls.get(), INFINITE);
        Sleep(1);
        library.close(session.Number());
        waiting.join();
        EXPECT_EQ(result, ZorvaneResult{kZorvaneNoSession});
    }
}

TEST(KitThreads, RunsSessionsSideBySide) {
    CClientLibrary library;
    std::vector<std::thread> threads;
    std::atomic<int> lived{0};
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] { lived += LivesThrough(library) ? 1 : 0; });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(lived, 4);
}

TEST(KitThreads, TakesCallsFromAnyThreadInAnyOrder) {
    CClientLibrary library;
    const CTestSession session(library, "hello");
    const ZorvaneSession number = session.Number();
    const auto onAnother = [&](const std::function<ZorvaneResult()>& call) {
        ZorvaneResult result = 0xFFFF;
        std::thread([&] { result = call(); }).join();
        return result;
    };
    // Nothing to stop, to pause or to resume yet: no event comes of it.
    EXPECT_EQ(onAnother([&] { return library.stop(number); }), ZorvaneResult{kZorvaneOk});
    EXPECT_EQ(onAnother([&] { return library.resume(number); }), ZorvaneResult{kZorvaneOk});
    EXPECT_EQ(onAnother([&] { return library.pause(number); }), ZorvaneResult{kZorvaneOk});
    EXPECT_EQ(onAnother([&] { return library.start(number); }), ZorvaneResult{kZorvaneOk});
    EXPECT_EQ(session.Next().type, ZorvaneEventType{kZorvaneEventWorkerStart});
    EXPECT_EQ(onAnother([&] { return library.stop(number); }), ZorvaneResult{kZorvaneOk});
    EXPECT_EQ(session.UntilEnd().back().endReason, ZorvaneEndReason{kZorvaneEndStopped});
    EXPECT_EQ(onAnother([&] { return library.close(number); }), ZorvaneResult{kZorvaneOk});
}

TEST(KitThreads, KeepsTheLibraryInMemoryUntilItsSessionsAreClosed) {
    CClientLibrary library;
    {
        const CTestSession session(library, "hello\ngpu:0");
        library.start(session.Number());
        session.NextOf(kZorvaneEventHello);
        library.Free();
        EXPECT_TRUE(library.IsLoaded());
        library.Load();
        EXPECT_EQ(session.NextOf(kZorvaneEventGpu).type, ZorvaneEventType{kZorvaneEventGpu});
    }
    library.Free();
    EXPECT_FALSE(library.IsLoaded());
}

TEST(KitThreads, LeavesNoThreadBehind) {
    CClientLibrary library;
    for (int i = 0; i < 20; ++i) {
        const CTestSession session(library, "");
    }
    library.Free();
    EXPECT_FALSE(library.IsLoaded()) << "every session's thread holds it";
}

TEST(KitThreads, LivesInSeveralModulesOfOneProcess) {
    CClientLibrary first;
    CClientLibrary second;
    ASSERT_NE(first.open, second.open);
    const CTestSession session(first, "hello\ngpu:0");
    first.start(session.Number());
    EXPECT_TRUE(LivesThrough(second));
    second.Free();
    EXPECT_FALSE(second.IsLoaded());
    EXPECT_EQ(session.NextOf(kZorvaneEventGpu).type, ZorvaneEventType{kZorvaneEventGpu});
}
