#include "tests/support/importpatch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

// The compiler reads an import table entry at most once a function.
[[gnu::noinline]] ULONGLONG TickCount() { return GetTickCount64(); }
[[gnu::noinline]] DWORD ThreadId() { return GetCurrentThreadId(); }
[[gnu::noinline]] DWORD ProcessId() { return GetCurrentProcessId(); }

// An entry of a table of the test's own.
using Doubler = int(int);
int Double(int value) { return 2 * value; }

class EntryPatch : public testing::Test {
  protected:
    using Patch = CImportPatch<Doubler>;

    // A replacement that adds `more` to what the original gives.
    std::unique_ptr<Patch> Add(int more) {
        // Known to the replacement only after the patch is made.
        const auto self = std::make_shared<const Patch*>();
        auto patch = std::make_unique<Patch>(
            &m_entry, [self, more](int value) { return (*self)->Original(value) + more; });
        *self = patch.get();
        return patch;
    }

    int Call(int value) const { return reinterpret_cast<Doubler*>(m_entry)(value); }

    void* m_entry = reinterpret_cast<void*>(&Double);
};

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
    PATCH_IMPORT(patch, GetCurrentThreadId, [&] { return patch.Original() + 1; });
    EXPECT_EQ(ThreadId(), thread + 1);
}

TEST(ImportPatch, WorksAsAMember) {
    struct Fake {
        DWORD answer = 77;
        PATCH_IMPORT(m_patch, GetCurrentThreadId, [this] { return answer; });
    };
    Fake fake;
    EXPECT_EQ(ThreadId(), 77u);
    fake.answer = 78;
    EXPECT_EQ(ThreadId(), 78u);
}

TEST(ImportPatch, KeepsFunctionsOfOneSignatureApart) {
    const DWORD process = ProcessId();
    PATCH_IMPORT(thread, GetCurrentThreadId, []() -> DWORD { return 1; });
    PATCH_IMPORT(own, GetCurrentProcessId, [&] { return own.Original() + 2; });
    EXPECT_EQ(ThreadId(), 1u);
    EXPECT_EQ(ProcessId(), process + 2);
}

TEST(ImportPatch, KeepsObjectsOfOneDeclarationApart) {
    struct Fake {
        explicit Fake(void** entry, int answer) : patch(entry, [answer](int) { return answer; }) {}
        CImportPatch<Doubler> patch;
    };
    void* first = reinterpret_cast<void*>(&Double);
    void* second = first;
    const Fake one(&first, 1);
    const Fake two(&second, 2);
    EXPECT_EQ(reinterpret_cast<Doubler*>(first)(0), 1);
    EXPECT_EQ(reinterpret_cast<Doubler*>(second)(0), 2);
}

TEST(ImportPatch, ReplacesInAllThreads) {
    std::atomic<int> calls{0};
    PATCH_IMPORT(patch, GetTickCount64, [&]() -> ULONGLONG { return ++calls, patch.Original(); });
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (int call = 0; call < 1000; ++call) {
                TickCount();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(calls, 4000);
}

TEST(ImportPatch, ThrowsForAFunctionThatTheProgramDoesNotImport) {
    EXPECT_THROW(FindImport(nullptr, "NoSuchFunction"), std::runtime_error);
    EXPECT_THROW(CImportPatch<DWORD()>("NoSuchFunction", [] { return DWORD{0}; }),
                 std::runtime_error);
}

TEST_F(EntryPatch, StacksPatchesOfOneEntry) {
    const auto older = Add(100);
    const auto newer = Add(1000);
    EXPECT_EQ(Call(4), 1108);
}

TEST_F(EntryPatch, RestoresWhenTheNewerOneEndsFirst) {
    auto older = Add(100);
    auto newer = Add(1000);
    newer.reset();
    EXPECT_EQ(Call(4), 108);
    older.reset();
    EXPECT_EQ(m_entry, reinterpret_cast<void*>(&Double));
}

TEST_F(EntryPatch, RestoresWhenTheOlderOneEndsFirst) {
    auto oldest = Add(100);
    auto older = Add(1000);
    auto newer = Add(10000);
    older.reset();
    EXPECT_EQ(Call(4), 10108);
    oldest.reset();
    EXPECT_EQ(Call(4), 10008);
    newer.reset();
    EXPECT_EQ(m_entry, reinterpret_cast<void*>(&Double));
}

TEST_F(EntryPatch, PassesALateCallOnToTheOriginal) {
    void* address = nullptr;
    {
        const auto patch = Add(100);
        address = m_entry;
    }
    EXPECT_EQ(reinterpret_cast<Doubler*>(address)(4), 8);
}

TEST_F(EntryPatch, ThrowsWhenTooManyOfOneSignatureExist) {
    std::vector<std::unique_ptr<Patch>> patches;
    for (size_t patch = 0; patch < Patch::kMostAtOnce; ++patch) {
        patches.push_back(Add(1));
    }
    EXPECT_THROW(
        {
            try {
                Add(1);
            } catch (const std::runtime_error& error) {
                EXPECT_STREQ(error.what(),
                             "no more than 16 functions of one signature can be "
                             "replaced at a time");
                throw;
            }
        },
        std::runtime_error);
    EXPECT_EQ(Call(0), 16) << "the refused one has changed nothing";
    patches.pop_back();
    patches.push_back(Add(100));
    EXPECT_EQ(Call(0), 115) << "a slot that was given back serves again";
}
