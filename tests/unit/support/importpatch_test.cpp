#include "tests/support/importpatch.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

// The compiler reads an import table entry at most once a function.
[[gnu::noinline]] ULONGLONG TickCount() { return GetTickCount64(); }
[[gnu::noinline]] DWORD ThreadId() { return GetCurrentThreadId(); }

}  // namespace

TEST(ImportPatch, ReplacesAFunctionUntilTheEndOfTheScope) {
    {
        PATCH_IMPORT(patch, GetTickCount64, []() -> ULONGLONG { return 12; });
        EXPECT_EQ(TickCount(), 12u);
    }
    EXPECT_NE(TickCount(), 12u);
}

TEST(ImportPatch, LetsTheReplacementCallTheOriginal) {
    const DWORD thread = ThreadId();
    PATCH_IMPORT(patch, GetCurrentThreadId, [] { return decltype(patch)::Original() + 1; });
    EXPECT_EQ(ThreadId(), thread + 1);
}

TEST(ImportPatch, ThrowsForAFunctionThatTheProgramDoesNotImport) {
    EXPECT_THROW(FindImport(nullptr, "NoSuchFunction"), std::runtime_error);
}
