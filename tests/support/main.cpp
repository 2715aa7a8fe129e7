// The main function of the test programs.
#include <windows.h>

#include <gtest/gtest.h>

#include "base/handle.h"
#include "tests/support/importpatch.h"

namespace {

// GoogleTest has each thread that uses SCOPED_TRACE watched by another, which waits for its end.
// That one comes at any time later, and a test that replaces WaitForSingleObject would take its
// call for one of the code under test. So the main thread's comes, and waits, before the first
// test.
void StartWatcherOfThisThread() {
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
    wait(waits.get(), INFINITE);
}

}  // namespace

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    StartWatcherOfThisThread();
    return RUN_ALL_TESTS();
}
