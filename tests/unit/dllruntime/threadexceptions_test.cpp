#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

// More threads than have a place without memory.
constexpr int kThreads = 200;

struct DestructionWatcher {
    explicit DestructionWatcher(int& count) : uncaught(count) {}
    ~DestructionWatcher() { uncaught = std::uncaught_exceptions(); }
    DestructionWatcher(const DestructionWatcher&) = delete;
    DestructionWatcher& operator=(const DestructionWatcher&) = delete;

    int& uncaught;
};

}  // namespace

TEST(ThreadExceptions, AreKeptApartInManyThreadsAtOnce) {
    std::atomic<int> inside{0};
    std::atomic<int> correct{0};
    const HANDLE all = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, number] {
            try {
                try {
                    throw int{number};
                } catch (int) {
                    if (++inside == kThreads) {
                        SetEvent(all);
                    }
                    WaitForSingleObject(all, INFINITE);
                    throw;  // this thread's own one, while every other thread handles one too
                }
            } catch (int caught) {
                correct += caught == number && std::uncaught_exceptions() == 0 ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    CloseHandle(all);
    EXPECT_EQ(correct, kThreads);
}

TEST(ThreadExceptions, AreCountedPerThread) {
    int uncaught = -1;
    int uncaughtElsewhere = -1;
    try {
        const DestructionWatcher watcher(uncaught);
        throw std::runtime_error("");
    } catch (const std::exception&) {
        std::thread([&] {
            EXPECT_EQ(std::current_exception(), nullptr);
            uncaughtElsewhere = std::uncaught_exceptions();
        }).join();
        EXPECT_NE(std::current_exception(), nullptr);
    }
    EXPECT_EQ(uncaught, 1);
    EXPECT_EQ(uncaughtElsewhere, 0);
    EXPECT_EQ(std::current_exception(), nullptr);
}
