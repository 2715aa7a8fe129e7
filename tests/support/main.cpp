// The main function of the test programs.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdio>

#include "base/handle.h"
#include "tests/support/importpatch.h"

namespace {

// GoogleTest has each thread that uses SCOPED_TRACE watched by another, which waits for its end.
// How soon that one begins is up to Windows, and a test that replaces WaitForSingleObject would
// take its call for one of the code under test. So the main thread's waits already before the first
// test. False when none came.
bool StartWatcherOfThisThread() {
    constexpr DWORD kPatienceMs = 30000;
    const zorvane::CUniqueHandle waits(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const DWORD thisThread = GetCurrentThreadId();
    const auto wait = &WaitForSingleObject;
    PATCH_IMPORT(patch, WaitForSingleObject,
                 [event = waits.get(), thisThread, wait](HANDLE handle, DWORD timeout) {
                     // The patch, and this with it, ends while the watcher waits.
                     const auto original = wait;
                     if (GetCurrentThreadId() != thisThread) {
                         SetEvent(event);
                     }
                     return original(handle, timeout);
                 });
    SCOPED_TRACE("the first");
    return wait(waits.get(), kPatienceMs) == WAIT_OBJECT_0;
}

}  // namespace

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    if (!StartWatcherOfThisThread()) {
        std::fputs("GoogleTest has started no thread that watches the main thread\n", stderr);
        return 1;
    }
    return RUN_ALL_TESTS();
}
