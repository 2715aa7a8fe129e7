// What the main function of a test program prepares; each test in a process of its own.
#include <gtest/gtest.h>

#include "tests/support/importpatch.h"

TEST(TestMain, StartsTheThreadThatWatchesTheMainThreadBeforeTheTests) {
    int threads = 0;
    PATCH_IMPORT(creation, CreateThread, [&](auto... arguments) {
        ++threads;
        return creation.Original(arguments...);
    });
    SCOPED_TRACE("makes GoogleTest start it");
    EXPECT_EQ(threads, 0);
}
