#include "client/c/eventqueue.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

QueuedEvent Cpu(int celsius) { return {{{}, CpuTemperature{celsius}}, 0}; }

QueuedEvent Notice(const char* id) { return {{{}, NoticeEvent{id, ""}}, 0}; }

QueuedEvent Static(uint32_t index, const wchar_t* serial) {
    GpuStatic fixed;
    fixed.first.index = index;
    fixed.serial = serial;
    return {{{}, fixed}, 0};
}

// The next event as a short text; empty when there is none.
std::string Next(CEventQueue& queue) {
    const auto event = queue.Pop(0);
    if (!event) {
        return "";
    }
    if (const auto* cpu = std::get_if<CpuTemperature>(&event->event.body)) {
        return std::to_string(cpu->celsius);
    }
    if (const auto* fixed = std::get_if<GpuStatic>(&event->event.body)) {
        return "static " + std::to_string(fixed->first.index) +
               (fixed->serial == L"new" ? " new" : "");
    }
    return std::get<NoticeEvent>(event->event.body).id;
}

TEST(EventQueueTest, GivesEventsInTheOrderOfTheirArrival) {
    CEventQueue queue(10);
    queue.Push(Cpu(1));
    queue.Push(Notice("a"));
    queue.Push(Cpu(2));
    queue.Push(Notice("b"));
    EXPECT_EQ(Next(queue), "1");
    EXPECT_EQ(Next(queue), "a");
    EXPECT_EQ(Next(queue), "2");
    EXPECT_EQ(Next(queue), "b");
    EXPECT_EQ(Next(queue), "");
    EXPECT_EQ(queue.Dropped(), 0u);
}

TEST(EventQueueTest, DropsTheOldestReadingsAndNothingElse) {
    CEventQueue queue(2);
    queue.Push(Cpu(1));
    queue.Push(Notice("a"));
    for (int i = 2; i <= 5; ++i) {
        queue.Push(Cpu(i));
        queue.Push(Notice("b"));
    }
    EXPECT_EQ(queue.Dropped(), 3u);
    for (const char* expected : {"a", "b", "b", "4", "b", "5", "b", ""}) {
        EXPECT_EQ(Next(queue), expected);
    }
}

TEST(EventQueueTest, KeepsTheNewestStaticRecordOfEachGpu) {
    CEventQueue queue(2);
    queue.Push(Static(0, L"old"));
    queue.Push(Notice("between"));
    queue.Push(Static(1, L"old"));
    queue.Push(Static(0, L"new"));
    EXPECT_EQ(Next(queue), "between");
    EXPECT_EQ(Next(queue), "static 1");
    EXPECT_EQ(Next(queue), "static 0 new");
    EXPECT_EQ(Next(queue), "");
}

TEST(EventQueueTest, GivesNothingOnceItIsClosed) {
    CEventQueue queue(2);
    queue.Push(Cpu(1));
    queue.Close();
    queue.Push(Cpu(2));
    EXPECT_TRUE(queue.IsClosed());
    EXPECT_FALSE(queue.Pop(INFINITE));
}

TEST(EventQueueTest, TakesAReadingThatFailedForOneThatTheNextReplaces) {
    EXPECT_TRUE(IsReading(GpuReading()));
    EXPECT_TRUE(IsReading(CpuTemperature{47}));
    EXPECT_TRUE(IsReading(CpuUnreadEvent()));
    EXPECT_FALSE(IsReading(GpuStatic()));
    EXPECT_FALSE(IsReading(NoticeEvent()));
}

}  // namespace
}  // namespace zorvane
