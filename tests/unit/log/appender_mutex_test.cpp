#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <utility>

#include "src/log/appender.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/log/loglines.h"
#include "tests/unit/log/mutexholder.h"
#include "tests/unit/log/mutexwaits.h"

namespace {

using Texts = std::vector<std::string>;

class AppenderMutex : public testing::Test {
  protected:
    CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"test.log");
    const std::wstring m_name = LogMutexName(m_path);
    ZorLog::LogAppender m_appender{m_path.c_str(), L"E"};
};

}  // namespace

TEST_F(AppenderMutex, WhileANeighbourHasItLinesStayQueuedAndKeepTheirOrder) {
    const int before = m_appender.Flush(L"one", false);
    CMutexHolder neighbour(m_name);
    EXPECT_EQ(m_appender.Flush(L"two", false), before);
    EXPECT_EQ(m_appender.Flush(L"three", false), before);
    EXPECT_EQ(LogTexts(m_path), Texts({"one"}));
    neighbour.Release();
    m_appender.Flush(L"four", false);
    EXPECT_EQ(LogTexts(m_path), Texts({"one", "two", "three", "four"}));
}

TEST_F(AppenderMutex, WhileANeighbourHasItAFlushTriesOnceAndReleasesWhatItHasNot) {
    CMutexHolder neighbour(m_name);
    const CMutexWaits waits;
    std::vector<BOOL> releases;
    PATCH_IMPORT(release, ReleaseMutex, [&](HANDLE mutex) {
        releases.push_back(release.Original(mutex));
        return releases.back();
    });
    m_appender.Flush(L"queued", false);
    EXPECT_EQ(waits.TimeoutsMs(), std::vector<DWORD>({0}));
    EXPECT_EQ(releases, std::vector<BOOL>({FALSE}));
}

TEST_F(AppenderMutex, AForcedFlushWaitsForItWithoutLimitAndThenWrites) {
    m_appender.Flush(L"one", false);
    CMutexHolder neighbour(m_name);
    std::promise<void> waiting;
    thread_local bool s_flushing = false;
    PATCH_IMPORT(wait, WaitForSingleObject, [&](HANDLE mutex, DWORD timeoutMs) {
        if (timeoutMs == INFINITE && std::exchange(s_flushing, false)) {
            waiting.set_value();
        }
        return wait.Original(mutex, timeoutMs);
    });
    std::future<void> flush = std::async(std::launch::async, [&] {
        s_flushing = true;
        m_appender.Flush(L"two", true);
    });
    const bool waited =
        waiting.get_future().wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    const Texts before = LogTexts(m_path);
    neighbour.Release();
    flush.get();
    EXPECT_TRUE(waited) << "the forced flush does not wait";
    EXPECT_EQ(before, Texts({"one"}));
    EXPECT_EQ(LogTexts(m_path), Texts({"one", "two"}));
    EXPECT_TRUE(IsMutexFree(m_name));
}

TEST_F(AppenderMutex, AForcedFlushWritesWhateverItsLongWaitAnswered) {
    const CMutexWaits waits([](HANDLE, DWORD timeoutMs) -> DWORD {
        return timeoutMs == 0 ? WAIT_TIMEOUT : WAIT_FAILED;
    });
    m_appender.Flush(L"line", true);
    EXPECT_EQ(LogTexts(m_path), Texts({"line"}));
}

TEST_F(AppenderMutex, AForcedFlushDoesNotWaitForOneThatIsFree) {
    const CMutexWaits waits;
    m_appender.Flush(L"line", true);
    EXPECT_EQ(waits.TimeoutsMs(), std::vector<DWORD>({0}));
}

class AbandonedMutex : public AppenderMutex, public testing::WithParamInterface<bool> {};

TEST_P(AbandonedMutex, CountsAsTakenAndIsReleasedOnce) {
    CMutexHolder neighbour(m_name);
    neighbour.Abandon();
    int releases = 0;
    {
        PATCH_IMPORT(release, ReleaseMutex, [&](HANDLE mutex) {
            ++releases;
            return release.Original(mutex);
        });
        m_appender.Flush(L"line", GetParam());
    }
    EXPECT_EQ(LogTexts(m_path), Texts({"line"}));
    EXPECT_EQ(releases, 1);
    EXPECT_TRUE(IsMutexFree(m_name)) << "it was taken twice";
}

INSTANTIATE_TEST_SUITE_P(Flush, AbandonedMutex, testing::Bool(),
                         [](const auto& force) { return force.param ? "Forced" : "Ordinary"; });

TEST_F(AppenderMutex, IsOpenedAnewByEachFlushAndItsHandlesStayOpen) {
    std::vector<HANDLE> opened;
    PATCH_IMPORT(open, OpenMutexW, [&](DWORD access, BOOL inherit, LPCWSTR name) {
        EXPECT_EQ(access, 0x1F0001u);
        EXPECT_FALSE(inherit);
        EXPECT_EQ(name, m_name);
        opened.push_back(open.Original(access, inherit, name));
        return opened.back();
    });
    const CMutexWaits waits;
    std::vector<HANDLE> released;
    PATCH_IMPORT(release, ReleaseMutex, [&](HANDLE mutex) {
        released.push_back(mutex);
        return release.Original(mutex);
    });
    m_appender.Flush(L"one", false);
    m_appender.Flush(L"two", true);
    ASSERT_EQ(opened.size(), 2u);
    EXPECT_NE(opened[0], opened[1]);
    EXPECT_EQ(waits.Mutexes(), opened);
    EXPECT_EQ(released, opened);
    for (const HANDLE handle : opened) {
        DWORD flags = 0;
        EXPECT_TRUE(GetHandleInformation(handle, &flags)) << "a handle was closed";
    }
}

TEST_F(AppenderMutex, ThatCannotBeOpenedLeavesTheLinesQueuedForALaterFlush) {
    const int before = m_appender.Flush(L"one", false);
    {
        int releases = 0;
        PATCH_IMPORT(open, OpenMutexW, [](auto...) -> HANDLE { return nullptr; });
        const CMutexWaits waits;
        PATCH_IMPORT(release, ReleaseMutex, [&](HANDLE) {
            ++releases;
            return TRUE;
        });
        EXPECT_EQ(m_appender.Flush(L"two", false), before);
        EXPECT_EQ(m_appender.Flush(L"three", true), before);
        EXPECT_EQ(waits.TimeoutsMs(), std::vector<DWORD>());
        EXPECT_EQ(releases, 0);
    }
    m_appender.Flush(L"four", false);
    EXPECT_EQ(LogTexts(m_path), Texts({"one", "two", "three", "four"}));
}

TEST_F(AppenderMutex, OfAnotherPathIsAnother) {
    CMutexHolder neighbour(LogMutexName(m_folder.PathOf(L"other.log")));
    m_appender.Flush(L"line", false);
    EXPECT_EQ(LogTexts(m_path), Texts({"line"}));
}
