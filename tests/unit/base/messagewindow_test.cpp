#include "base/messagewindow.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/importpatch.h"

namespace zorvane {
namespace {

constexpr UINT kQuestion = WM_APP + 7;

TEST(MessageWindowTest, AnswersAsItsHandlerDoes) {
    CMessageWindow window;
    ASSERT_FALSE(window.Create([](UINT message, WPARAM wParam, LPARAM lParam) {
        return message == kQuestion ? std::optional<LRESULT>(static_cast<LRESULT>(wParam) + lParam)
                                    : std::nullopt;
    }));
    EXPECT_EQ(SendMessageW(window.Handle(), kQuestion, 40, 2), 42);
    EXPECT_EQ(SendMessageW(window.Handle(), kQuestion + 1, 40, 2), 0);
}

TEST(MessageWindowTest, KnowsItsWindowFromTheFirstMessageOn) {
    CMessageWindow window;
    std::vector<HWND> handles;
    ASSERT_FALSE(window.Create([&](UINT, WPARAM, LPARAM) -> std::optional<LRESULT> {
        handles.push_back(window.Handle());
        return std::nullopt;
    }));
    ASSERT_FALSE(handles.empty());
    EXPECT_EQ(handles.front(), window.Handle());
}

TEST(MessageWindowTest, IsGoneAfterDestroyAndAfterItsObject) {
    HWND handle = nullptr;
    {
        CMessageWindow window;
        const auto ignore = [](UINT, WPARAM, LPARAM) { return std::optional<LRESULT>(); };
        ASSERT_FALSE(window.Create(ignore));
        handle = window.Handle();
        window.Destroy();
        EXPECT_FALSE(IsWindow(handle));
        EXPECT_EQ(window.Handle(), nullptr);
        ASSERT_FALSE(window.Create(ignore));
        handle = window.Handle();
        EXPECT_TRUE(IsWindow(handle));
    }
    EXPECT_FALSE(IsWindow(handle));
}

TEST(MessageWindowTest, AnswersTheErrorOfAWindowThatCannotBeMade) {
    PATCH_IMPORT(create, CreateWindowExW, [](auto...) -> HWND {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    });
    CMessageWindow window;
    const auto error = window.Create([](UINT, WPARAM, LPARAM) { return std::optional<LRESULT>(); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->call, "CreateWindowExW");
    EXPECT_EQ(error->code, static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
}

}  // namespace
}  // namespace zorvane
