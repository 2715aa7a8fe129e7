// The window class is registered once in a process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "src/process/msgloopthread.h"
#include "tests/support/importpatch.h"
#include "tests/support/testlog.h"

using testing::ElementsAre;

namespace {

class CLoopThatEnds : public CMsgLoopThread {
  public:
    BOOL ProcessWindowMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                              LRESULT& result) override {
        if (message == WM_CREATE) {
            PostMessageW(window, WM_CLOSE, 0, 0);
        }
        return CMsgLoopThread::ProcessWindowMessage(window, message, wParam, lParam, result);
    }
};

constexpr char kQuitLine[] = "[msgloopthread] CMsgLoopThread quit msg loop.";
constexpr char kNoWindowLine[] = "[msgloopthread] Create MsgLoopWnd failed.";

}  // namespace

TEST(MsgLoopThreadInAFreshProcess, EndsAtOnceWhenItsClassIsRefusedAndTriesAgainLater) {
    CTestLog log;
    int windows = 0;
    PATCH_IMPORT(creation, CreateWindowExW, [&](auto... arguments) {
        ++windows;
        return creation.Original(arguments...);
    });
    {
        PATCH_IMPORT(registration, RegisterClassExW, [](auto...) -> ATOM { return 0; });
        CLoopThatEnds loop;
        loop.RunLoop();
    }
    EXPECT_EQ(windows, 0);
    EXPECT_THAT(log.Messages(), ElementsAre(kNoWindowLine));
    CLoopThatEnds loop;
    loop.RunLoop();
    EXPECT_EQ(windows, 1);
    EXPECT_THAT(log.Messages(), ElementsAre(kNoWindowLine, kQuitLine));
}

TEST(MsgLoopThreadInAFreshProcess, RegistersItsClassForTheFirstOfManyLoops) {
    CTestLog log;
    int registrations = 0;
    PATCH_IMPORT(registration, RegisterClassExW, [&](const WNDCLASSEXW* description) {
        ++registrations;
        return registration.Original(description);
    });
    for (int run = 0; run < 3; ++run) {
        CLoopThatEnds loop;
        loop.RunLoop();
    }
    EXPECT_EQ(registrations, 1);
    EXPECT_THAT(log.Messages(), ElementsAre(kQuitLine, kQuitLine, kQuitLine));
}
