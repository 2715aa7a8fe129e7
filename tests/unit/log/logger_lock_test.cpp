#include <gtest/gtest.h>
#include <sys/timeb.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <thread>

#include "src/log/logger.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/log/loglines.h"

namespace {

using Texts = std::vector<std::string>;
using Sections = std::vector<CRITICAL_SECTION*>;

// The sections that are entered while `act` runs, in order.
template <typename Act>
Sections Entered(Act act) {
    Sections sections;
    PATCH_IMPORT(enter, EnterCriticalSection, [&](LPCRITICAL_SECTION section) {
        sections.push_back(section);
        enter.Original(section);
    });
    act();
    return sections;
}

class LoggerLock : public testing::Test {
  protected:
    LoggerLock() {
        // The first of a logger's sections is its own.
        PATCH_IMPORT(setUp, InitializeCriticalSection, [&](LPCRITICAL_SECTION section) {
            (m_lock ? m_queueLock : m_lock) = section;
            setUp.Original(section);
        });
        m_logger.emplace();
        m_logger->Init(m_path.c_str(), L"E");
    }
    ~LoggerLock() override { m_logger->Close(); }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"test.log");
    CRITICAL_SECTION* m_lock = nullptr;
    CRITICAL_SECTION* m_queueLock = nullptr;
    std::optional<ZorLog::LoggerImpl> m_logger;
};

}  // namespace

TEST_F(LoggerLock, IsHeldByEveryOperationButClose) {
    const Sections init = Entered([&] { m_logger->Init(m_path.c_str(), L"E"); });
    EXPECT_EQ(init, Sections({m_lock, m_queueLock}));
    const Sections reset = Entered([&] { m_logger->Reset(); });
    EXPECT_EQ(reset, Sections({m_lock, m_queueLock, m_queueLock}));
    const Sections setLevel = Entered([&] { m_logger->SetLevel(1); });
    EXPECT_EQ(setLevel, Sections({m_lock, m_queueLock, m_queueLock}));
    const Sections isEnabled = Entered([&] { m_logger->IsEnabled(1); });
    EXPECT_EQ(isEnabled, Sections({m_lock}));
    const Sections write = Entered([&] { m_logger->Write(L"message"); });
    EXPECT_EQ(write, Sections({m_lock, m_queueLock, m_queueLock}));
    const Sections close = Entered([&] { m_logger->Close(); });
    EXPECT_EQ(close, Sections({m_queueLock, m_queueLock}));
}

TEST_F(LoggerLock, IsTheFirstToBeEnteredAndTheLastToBeLeft) {
    std::vector<std::pair<char, CRITICAL_SECTION*>> calls;
    PATCH_IMPORT(enter, EnterCriticalSection, [&](LPCRITICAL_SECTION section) {
        calls.emplace_back('+', section);
        enter.Original(section);
    });
    PATCH_IMPORT(leave, LeaveCriticalSection, [&](LPCRITICAL_SECTION section) {
        calls.emplace_back('-', section);
        leave.Original(section);
    });
    m_logger->Write(L"message");
    const auto written = calls;
    ASSERT_FALSE(written.empty());
    EXPECT_EQ(written.front(), std::pair('+', m_lock));
    EXPECT_EQ(written.back(), std::pair('-', m_lock));
    EXPECT_EQ(std::count(written.begin(), written.end(), std::pair('+', m_lock)), 1);
}

TEST_F(LoggerLock, LetsOneOfManyThreadsInAtATimeAndNoLineIsLostOrTorn) {
    constexpr int kThreads = 8;
    constexpr int kLines = 150;
    std::atomic<int> inside = 0;
    std::atomic<bool> together = false;
    PATCH_IMPORT(clock, _ftime64_s, [&](__timeb64* now) {
        if (++inside > 1) {
            together = true;
        }
        SwitchToThread();
        --inside;
        return clock.Original(now);
    });
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([this, thread] {
            for (int line = 0; line < kLines; ++line) {
                // Lines of different lengths make a torn line visible.
                const std::wstring text = std::to_wstring(thread) + L":" + std::to_wstring(line) +
                                          std::wstring(static_cast<size_t>(line), L'.');
                m_logger->Write(text.c_str());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(together);

    std::vector<Texts> written(kThreads);
    for (const std::string& text : LogTexts(m_path)) {
        if (text != "-------log start") {
            ASSERT_TRUE(text[0] >= '0' && text[0] < '0' + kThreads) << text;
            written[static_cast<size_t>(text[0] - '0')].push_back(text);
        }
    }
    for (size_t thread = 0; thread < kThreads; ++thread) {
        Texts expected;
        for (size_t line = 0; line < kLines; ++line) {
            expected.push_back(std::to_string(thread) + ":" + std::to_string(line) +
                               std::string(line, '.'));
        }
        EXPECT_EQ(written[thread], expected) << "in the order of the thread";
    }
}
