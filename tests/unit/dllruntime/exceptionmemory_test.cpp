#include <gtest/gtest.h>

#include <algorithm>
#include <exception>
#include <new>

#include "tests/support/importpatch.h"

namespace {

// decltype(malloc) has attributes, which a template argument must not have.
using Malloc = CImportPatch<void*(size_t)>;

class CExhaustedMemory {
  private:
    const Malloc m_malloc{"malloc", [](size_t) -> void* { return nullptr; }};
};

// Big enough to overwrite what the runtime keeps beside it if the room were too small.
struct Thrown {
    unsigned char bytes[200];
};

Thrown Filled(unsigned char value) {
    Thrown thrown{};
    for (unsigned char& byte : thrown.bytes) {
        byte = value;
    }
    return thrown;
}

bool IsFilled(const Thrown& thrown, unsigned char value) {
    return std::ranges::all_of(thrown.bytes, [value](unsigned char byte) { return byte == value; });
}

// Throws and catches one inside the other; the number of those that arrived as they were thrown.
int ThrowNested(int depth) {
    try {
        throw Filled(static_cast<unsigned char>(depth));
    } catch (const Thrown& thrown) {
        const int inner = depth > 1 ? ThrowNested(depth - 1) : 0;
        return inner + (IsFilled(thrown, static_cast<unsigned char>(depth)) ? 1 : 0);
    }
}

}  // namespace

TEST(ExceptionMemory, IsThereWhenNoOtherMemoryIs) {
    int arrived = 0;
    {
        const CExhaustedMemory exhausted;
        arrived = ThrowNested(16);
    }
    EXPECT_EQ(arrived, 16);
}

TEST(ExceptionMemory, IsGivenBack) {
    int arrived = 0;
    {
        const CExhaustedMemory exhausted;
        for (int time = 0; time < 1000; ++time) {
            arrived += ThrowNested(3);
        }
    }
    EXPECT_EQ(arrived, 3000);
}

TEST(ExceptionMemory, ServesAnExceptionThatIsKeptAndThrownAgain) {
    int arrived = 0;
    {
        const CExhaustedMemory exhausted;
        for (int time = 0; time < 100; ++time) {
            std::exception_ptr kept;
            try {
                ::operator delete(::operator new(8));
            } catch (...) {
                kept = std::current_exception();
            }
            try {
                std::rethrow_exception(kept);
            } catch (const std::bad_alloc&) {
                ++arrived;
            }
        }
    }
    EXPECT_EQ(arrived, 100);
}

TEST(ExceptionMemory, ComesFromTheHeapWhileThereIsSome) {
    int allocations = 0;
    int arrived = 0;
    {
        const Malloc counted("malloc", [&](size_t size) {
            ++allocations;
            return counted.Original(size);
        });
        arrived = ThrowNested(100);
    }
    EXPECT_EQ(arrived, 100);
    EXPECT_GE(allocations, 100);
}
