#include "src/log/locks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/importpatch.h"
#include "tests/support/virtualslot.h"

namespace {

using _BaseModule::CCriticalSection;
using _BaseModule::ILocker;

// The calls on critical sections of one test, in order, with the sections that they got.
struct Calls {
    std::vector<std::string> names;
    std::vector<CRITICAL_SECTION*> sections;

    void Add(const char* name, CRITICAL_SECTION* section) {
        names.emplace_back(name);
        sections.push_back(section);
    }
};

void Enter(ILocker& lock) { lock.Lock(); }
void Leave(ILocker& lock) { lock.Unlock(); }

}  // namespace

TEST(CriticalSection, LockAndUnlockAnswerTrueEveryTimeAlsoWhenOneThreadEntersAgain) {
    CCriticalSection section;
    ILocker& lock = section;
    for (int depth = 0; depth < 3; ++depth) {
        EXPECT_TRUE(lock.Lock());
    }
    for (int depth = 0; depth < 3; ++depth) {
        EXPECT_TRUE(lock.Unlock());
    }
    EXPECT_TRUE(lock.Lock());
    EXPECT_TRUE(lock.Unlock());
}

TEST(CriticalSection, KeepsOtherThreadsOutUntilItIsLeftAsOftenAsItWasEntered) {
    CCriticalSection lock;
    lock.Lock();
    lock.Lock();
    std::promise<void> blocked;
    std::atomic<bool> ownerLeft = false;
    // The threading library uses critical sections too; only the log's are recorded.
    thread_local bool s_trying = false;
    PATCH_IMPORT(enter, EnterCriticalSection, [&](LPCRITICAL_SECTION section) {
        if (std::exchange(s_trying, false)) {
            blocked.set_value();
        }
        enter.Original(section);
    });
    std::future<bool> other = std::async(std::launch::async, [&] {
        s_trying = true;
        Enter(lock);
        const bool afterOwner = ownerLeft;
        Leave(lock);
        return afterOwner;
    });
    ASSERT_EQ(blocked.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready)
        << "the other thread does not try the lock";
    lock.Unlock();
    ownerLeft = true;
    lock.Unlock();
    EXPECT_TRUE(other.get());
}

TEST(CriticalSection, IsSetUpEnteredLeftAndDeletedByTheCallsOfWindowsItself) {
    Calls calls;
    PATCH_IMPORT(setUp, InitializeCriticalSection, [&](LPCRITICAL_SECTION section) {
        calls.Add("initialize", section);
        setUp.Original(section);
    });
    PATCH_IMPORT(enter, EnterCriticalSection, [&](LPCRITICAL_SECTION section) {
        calls.Add("enter", section);
        enter.Original(section);
    });
    PATCH_IMPORT(leave, LeaveCriticalSection, [&](LPCRITICAL_SECTION section) {
        calls.Add("leave", section);
        leave.Original(section);
    });
    PATCH_IMPORT(tearDown, DeleteCriticalSection, [&](LPCRITICAL_SECTION section) {
        calls.Add("delete", section);
        tearDown.Original(section);
    });
    std::unique_ptr<ILocker> lock = std::make_unique<CCriticalSection>();
    Enter(*lock);
    Leave(*lock);
    lock.reset();

    const std::vector<std::string> expected = {"initialize", "enter", "leave", "delete"};
    EXPECT_EQ(calls.names, expected);
    EXPECT_EQ(calls.sections, std::vector(4, calls.sections.front()));
}

TEST(CriticalSection, HasLockThenUnlockThenTheDestructor) {
    EXPECT_EQ(VirtualSlot(&ILocker::Lock), 0u);
    EXPECT_EQ(VirtualSlot(&ILocker::Unlock), 1u);
}

TEST(CriticalSection, HasNoDataButTheSection) {
    EXPECT_EQ(sizeof(CCriticalSection), sizeof(void*) + sizeof(CRITICAL_SECTION));
    EXPECT_EQ(sizeof(ILocker), sizeof(void*));
}

TEST(ModuleLocks, AreTwoAndReadyFromTheStart) {
    ILocker* const locks[] = {&_BaseModule::g_loggerLock, &_BaseModule::g_moduleLock};
    EXPECT_NE(locks[0], locks[1]);
    for (ILocker* lock : locks) {
        EXPECT_TRUE(lock->Lock());
        EXPECT_TRUE(lock->Unlock());
    }
}
