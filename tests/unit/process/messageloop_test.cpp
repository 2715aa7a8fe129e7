#include "src/process/messageloop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/importpatch.h"

using testing::ElementsAre;

namespace {

constexpr UINT kCaretTimer = 0x118;

// What GetMessageW answers, one after the other; behind the last comes WM_QUIT.
struct Got {
    BOOL result;
    UINT message;
};

std::vector<std::string> RunWith(const std::vector<Got>& script, BOOL queueHasMessages) {
    std::vector<std::string> calls;
    size_t next = 0;
    PATCH_IMPORT(peek, PeekMessageW, [&](MSG*, HWND window, UINT first, UINT last, UINT options) {
        EXPECT_EQ(window, nullptr);
        EXPECT_EQ(first, 0u);
        EXPECT_EQ(last, 0u);
        EXPECT_EQ(options, UINT{PM_NOREMOVE});
        calls.emplace_back("peek");
        return queueHasMessages;
    });
    PATCH_IMPORT(get, GetMessageW, [&](MSG* message, HWND window, UINT first, UINT last) -> BOOL {
        EXPECT_EQ(window, nullptr);
        EXPECT_EQ(first, 0u);
        EXPECT_EQ(last, 0u);
        if (next == script.size()) {
            calls.emplace_back("quit");
            return 0;
        }
        const Got& got = script[next++];
        message->message = got.message;
        calls.emplace_back(got.result < 0 ? "error" : "get");
        return got.result;
    });
    PATCH_IMPORT(translate, TranslateMessage, [&](const MSG* message) -> BOOL {
        calls.push_back("translate " + std::to_string(message->message));
        return TRUE;
    });
    PATCH_IMPORT(dispatch, DispatchMessageW, [&](const MSG* message) -> LRESULT {
        calls.push_back("dispatch " + std::to_string(message->message));
        return 0;
    });
    RunMessageLoop();
    return calls;
}

}  // namespace

TEST(MessageLoop, EndsAtTheQuitMessage) {
    EXPECT_THAT(RunWith({}, FALSE), ElementsAre("peek", "quit"));
}

TEST(MessageLoop, TranslatesThenDispatchesEachMessage) {
    EXPECT_THAT(RunWith({{1, WM_TIMER}, {1, WM_CLOSE}}, FALSE),
                ElementsAre("peek", "get", "translate 275", "dispatch 275", "peek", "get",
                            "translate 16", "dispatch 16", "peek", "quit"));
}

TEST(MessageLoop, GoesOnWhenGetMessageFails) {
    EXPECT_THAT(RunWith({{-1, WM_CLOSE}, {-1, 0}, {1, WM_TIMER}}, FALSE),
                ElementsAre("peek", "error", "error", "get", "translate 275", "dispatch 275",
                            "peek", "quit"));
}

TEST(MessageLoop, DoesNotBeginIdleTimeAfterAMessageThatMeansLittle) {
    EXPECT_THAT(RunWith({{1, WM_MOUSEMOVE}, {1, WM_TIMER}}, FALSE),
                ElementsAre("peek", "get", "translate 512", "dispatch 512", "get", "translate 275",
                            "dispatch 275", "peek", "quit"));
}

TEST(MessageLoop, KeepsIdleTimeWhileTheQueueHasMessages) {
    EXPECT_THAT(RunWith({{1, WM_MOUSEMOVE}, {-1, 0}}, TRUE),
                ElementsAre("peek", "get", "translate 512", "dispatch 512", "peek", "error", "peek",
                            "quit"));
}

TEST(MessageLoop, CountsFourMessagesAsMeaningLittle) {
    for (UINT message = 0; message <= WM_APP; ++message) {
        const bool little = message == WM_MOUSEMOVE || message == WM_NCMOUSEMOVE ||
                            message == WM_PAINT || message == kCaretTimer;
        EXPECT_EQ(BeginsIdleTime(message), !little) << message;
    }
}
