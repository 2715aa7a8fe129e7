#include "base/windowthread.h"

#include <gtest/gtest.h>

#include "tests/support/importpatch.h"

namespace zorvane {
namespace {

std::optional<LRESULT> Ignore(UINT, WPARAM, LPARAM) { return std::nullopt; }

TEST(WindowThreadTest, AnswersOnAThreadOfItsOwn) {
    DWORD thread = 0;
    const CWindowThread window([&](UINT message, WPARAM, LPARAM lParam) -> std::optional<LRESULT> {
        if (message != WM_APP) {
            return std::nullopt;
        }
        thread = GetCurrentThreadId();
        return lParam + 1;
    });
    EXPECT_EQ(SendMessageW(window.Handle(), WM_APP, 0, 41), 42);
    EXPECT_EQ(thread, GetWindowThreadProcessId(window.Handle(), nullptr));
    EXPECT_NE(thread, GetCurrentThreadId());
}

TEST(WindowThreadTest, HasNoWindowAfterDestroy) {
    CWindowThread window(&Ignore);
    EXPECT_TRUE(IsWindow(window.Handle()));
    window.Destroy();
    EXPECT_FALSE(IsWindow(window.Handle()));
    window.Destroy();
}

TEST(WindowThreadTest, EndsWhenItsWindowIsClosedByOthers) {
    HWND handle = nullptr;
    {
        const CWindowThread window(&Ignore);
        handle = window.Handle();
        SendMessageW(handle, WM_CLOSE, 0, 0);
    }
    EXPECT_FALSE(IsWindow(handle));
}

TEST(WindowThreadTest, HasNoWindowWhenNoneCanBeMade) {
    PATCH_IMPORT(create, CreateWindowExW, [](auto...) -> HWND { return nullptr; });
    const CWindowThread window(&Ignore);
    EXPECT_EQ(window.Handle(), nullptr);
}

}  // namespace
}  // namespace zorvane
