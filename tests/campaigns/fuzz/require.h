/** What a fuzzed function promises. */
#pragma once

#include <cstdio>
#include <cstdlib>

/** Ends the fuzzer, which then keeps the input. */
inline void Require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "broken promise: %s\n", what);
        std::abort();
    }
}
