#include "base/detachedthread.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <memory>
#include <system_error>

#include "base/handle.h"
#include "tests/support/importpatch.h"

namespace zorvane {
namespace {

TEST(DetachedThreadTest, EveryOneRunsWhileTheOneBeforeIsEnding) {
    constexpr int kThreads = 500;
    for (int i = 0; i < kThreads; ++i) {
        const auto ran =
            std::make_shared<CUniqueHandle>(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        RunDetached([ran] { SetEvent(ran->get()); });
        ASSERT_EQ(WaitForSingleObject(ran->get(), 30000), WAIT_OBJECT_0) << "thread " << i;
    }
}

TEST(DetachedThreadTest, RunsOnAThreadOfItsOwn) {
    const auto id = std::make_shared<std::atomic<DWORD>>(0u);
    const auto ran = std::make_shared<CUniqueHandle>(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    RunDetached([id, ran] {
        *id = GetCurrentThreadId();
        SetEvent(ran->get());
    });
    ASSERT_EQ(WaitForSingleObject(ran->get(), 30000), WAIT_OBJECT_0);
    EXPECT_NE(*id, GetCurrentThreadId());
}

TEST(DetachedThreadTest, NoThreadIsAnErrorAndFreesTheWork) {
    PATCH_IMPORT(create, CreateThread, [](auto...) -> HANDLE {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    });
    const auto held = std::make_shared<int>(0);
    try {
        RunDetached([held] {});
        FAIL() << "no error";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), ERROR_NOT_ENOUGH_MEMORY);
    }
    EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace zorvane
