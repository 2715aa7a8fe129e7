// The shipped library in a process whose memory runs out: with each allocation failing in turn,
// from loading on, nothing but std::bad_alloc may come of it.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <regex>

#include "tests/support/exportpatch.h"
#include "tests/unit/library/loadedlibrary.h"

namespace {

// More allocations than loading and a run without tasks make.
constexpr int kManyAllocations = 500;

struct Failure {
    int first;
    bool isForGood;
};

// What the library's malloc does, on all threads.
std::atomic<int> s_calls{0};
std::atomic<int> s_first{-1};
std::atomic<bool> s_isForGood{false};

void* FailingMalloc(size_t size) {
    const int call = s_calls++;
    const int first = s_first;
    const bool fails = first >= 0 && (s_isForGood ? call >= first : call == first);
    return fails ? nullptr : std::malloc(size);
}

// Replaces malloc for libraries that are loaded in its life, and sets when it fails.
class CFailingMemory {
  public:
    explicit CFailingMemory(const Failure& failure) {
        s_calls = 0;
        s_isForGood = failure.isForGood;
        s_first = failure.first;
    }
    ~CFailingMemory() { s_first = -1; }
    CFailingMemory(const CFailingMemory&) = delete;
    CFailingMemory& operator=(const CFailingMemory&) = delete;

    bool HasFailed() const { return s_calls > s_first; }

  private:
    const CExportPatch m_malloc{GetModuleHandleW(L"msvcrt.dll"), "malloc",
                                reinterpret_cast<void*>(&FailingMalloc)};
};

enum class Outcome { kReturned, kBadAlloc };

struct Result {
    Outcome outcome;
    bool hasFailed;
};

void ExpectWholeLines(const std::vector<std::string>& lines) {
    const std::regex whole(
        R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d\d\d \[[ \d]{5}\]\[[ \d]{5}\]\[E\](-------log start|\[I\]\[[ \d]{3}\d\]\[\w+\] .*))");
    for (const std::string& line : lines) {
        EXPECT_TRUE(std::regex_match(line, whole)) << line;
    }
}

Result RunWith(const Failure& failure) {
    const CFailingMemory memory(failure);
    const CLoadedLibrary library;
    Outcome outcome = Outcome::kReturned;
    try {
        library.Run(L"--entry=e");
    } catch (const std::bad_alloc&) {
        outcome = Outcome::kBadAlloc;
    }
    ExpectWholeLines(library.LogLines());
    return {outcome, memory.HasFailed()};
}

// How many runs ended with the exception.
int FailEachAllocation(bool isForGood) {
    int exceptions = 0;
    for (int first = 0; first < kManyAllocations; ++first) {
        SCOPED_TRACE("allocation " + std::to_string(first));
        const Result result = RunWith({first, isForGood});
        exceptions += result.outcome == Outcome::kBadAlloc ? 1 : 0;
        if (!result.hasFailed) {
            EXPECT_EQ(result.outcome, Outcome::kReturned);
            EXPECT_GT(first, 20) << "hardly anything was allocated through malloc";
            return exceptions;
        }
        EXPECT_FALSE(testing::Test::HasFailure());
    }
    ADD_FAILURE() << "the run never came to its end";
    return exceptions;
}

}  // namespace

TEST(ZorvaneMemory, RunsOutForOneAllocation) {
    // The host, the task manager and their references, the work function, the command line's words,
    // the window's creation, the task list.
    EXPECT_GE(FailEachAllocation(false), 5);
}

TEST(ZorvaneMemory, RunsOutForGood) { EXPECT_GE(FailEachAllocation(true), 5); }

TEST(ZorvaneMemory, WasNeverThere) {
    const Result result = RunWith({0, true});
    EXPECT_EQ(result.outcome, Outcome::kBadAlloc);
}
