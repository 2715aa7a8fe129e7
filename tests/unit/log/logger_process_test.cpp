#include <gtest/gtest.h>

#include <filesystem>
#include <future>
#include <set>
#include <utility>

#include "src/log/locks.h"
#include "src/log/logger.h"
#include "src/log/logsite.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/log/loglines.h"

namespace {

constexpr char kLogSource[] = "tests\\logger_process_test.cpp";

using Texts = std::vector<std::string>;

// A process without a logger, as it is before the library's entry point ran.
class ProcessLogger : public testing::Test {
  protected:
    ProcessLogger() { ZorLog::ShutdownLogger(); }
    ~ProcessLogger() override {
        if (ZorLog::Logger* logger = ZorLog::GetLogger()) {
            logger->Close();
        }
        ZorLog::ShutdownLogger();
    }

    void Init() { ZorLog::InitLogger(m_path.c_str(), L"E"); }
    Texts Lines() const { return LogTexts(m_path); }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"test.log");
};

// How often the global logger lock is taken while `act` runs.
template <typename Act>
int LocksTaken(Act act) {
    const auto* const lock = reinterpret_cast<const char*>(&_BaseModule::g_loggerLock);
    int taken = 0;
    PATCH_IMPORT(enter, EnterCriticalSection, [&](LPCRITICAL_SECTION section) {
        taken += reinterpret_cast<char*>(section) == lock + sizeof(void*) ? 1 : 0;
        enter.Original(section);
    });
    act();
    return taken;
}

}  // namespace

TEST_F(ProcessLogger, IsMadeAtTheFirstCallUnderALockAndThenFoundWithoutOne) {
    ZorLog::Logger* first = nullptr;
    ZorLog::Logger* second = nullptr;
    EXPECT_EQ(LocksTaken([&] { first = ZorLog::GetLogger(); }), 1);
    EXPECT_EQ(LocksTaken([&] { second = ZorLog::GetLogger(); }), 0);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(first, second);
}

TEST_F(ProcessLogger, IsOneForThreadsThatAskAtOnce) {
    for (int round = 0; round < 50; ++round) {
        SCOPED_TRACE(round);
        ZorLog::ShutdownLogger();
        std::promise<void> start;
        const std::shared_future<void> started = start.get_future().share();
        std::vector<std::future<ZorLog::Logger*>> threads;
        threads.reserve(4);
        for (int thread = 0; thread < 4; ++thread) {
            threads.push_back(std::async(std::launch::async, [started] {
                started.wait();
                return ZorLog::GetLogger();
            }));
        }
        start.set_value();
        std::set<ZorLog::Logger*> loggers;
        for (std::future<ZorLog::Logger*>& thread : threads) {
            loggers.insert(thread.get());
        }
        ASSERT_EQ(loggers.size(), 1u);
        ASSERT_NE(*loggers.begin(), nullptr);
    }
}

TEST_F(ProcessLogger, IsNotMadeAgainByAThreadThatHadToWaitForTheLock) {
    ZorLog::Logger* fromFaster = nullptr;
    bool waiting = false;
    PATCH_IMPORT(enter, EnterCriticalSection, [&](LPCRITICAL_SECTION section) {
        // While this thread is about to enter, another one makes the logger.
        if (!std::exchange(waiting, true)) {
            fromFaster = ZorLog::GetLogger();
        }
        enter.Original(section);
    });
    ZorLog::Logger* fromWaiting = ZorLog::GetLogger();
    EXPECT_NE(fromFaster, nullptr);
    EXPECT_EQ(fromWaiting, fromFaster);
}

TEST_F(ProcessLogger, InitOpensTheLogOfTheProcessWithItsTag) {
    ZorLog::InitLogger(m_path.c_str(), L"Tag");
    ZorLog::GetLogger()->Write(L"message");
    EXPECT_EQ(Lines(), Texts({"-------log start", "message"}));
    EXPECT_NE(ReadFileBytes(m_path).find("][Tag]message\r\n"), std::string::npos);
}

TEST_F(ProcessLogger, AfterLevelThreeASiteFormatsAndWritesNothing) {
    Init();
    ZorLog::SetLogLevel(3);
    int evaluated = 0;
    LOG_INFO(L"%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    EXPECT_EQ(Lines(), Texts({"-------log start", "-------log off"}));
}

TEST_F(ProcessLogger, ASiteIsOfLevelOne) {
    Init();
    ZorLog::SetLogLevel(2);
    EXPECT_FALSE(ZorLog::IsSiteEnabled());
    ZorLog::SetLogLevel(1);
    EXPECT_TRUE(ZorLog::IsSiteEnabled());
    ZorLog::SetLogLevel(0);
    EXPECT_TRUE(ZorLog::IsSiteEnabled());
}

TEST_F(ProcessLogger, EachFurtherLevelThreeAddsAnOffMarkerAndNothingElseComes) {
    Init();
    LOG_INFO(L"start");
    for (int pass = 0; pass < 3; ++pass) {
        ZorLog::SetLogLevel(3);
        LOG_INFO(L"silent");
    }
    const Texts lines = Lines();
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_TRUE(lines[1].ends_with("start")) << lines[1];
    EXPECT_EQ(Texts(lines.begin() + 2, lines.end()), Texts(3, "-------log off"));
}

TEST_F(ProcessLogger, WithTheMarkerFileKeepsLoggingAfterLevelThreeAndWritesNoOffMarker) {
    WriteFileBytes(m_path + L".on", "");
    Init();
    ZorLog::SetLogLevel(3);
    LOG_INFO(L"message");
    EXPECT_TRUE(ZorLog::GetLogger()->IsEnabled(0));
    const Texts lines = Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(lines[1].ends_with("message")) << lines[1];
}

TEST_F(ProcessLogger, ShutdownWritesNeitherTheQueueNorAnEndMarkerAndLeavesTheFileOpen) {
    Init();
    LOG_INFO(L"message");
    const std::string before = ReadFileBytes(m_path);
    Init();  // queues a start marker
    int closed = 0;
    {
        PATCH_IMPORT(close, _close, [&](int) { return ++closed; });
        ZorLog::ShutdownLogger();
    }
    EXPECT_EQ(closed, 0);
    EXPECT_EQ(ReadFileBytes(m_path), before);
}

TEST_F(ProcessLogger, ShutdownTakesTheLockOnlyWhenThereIsALogger) {
    int deleted = 0;
    PATCH_IMPORT(tearDown, DeleteCriticalSection, [&](LPCRITICAL_SECTION section) {
        ++deleted;
        tearDown.Original(section);
    });
    ZorLog::GetLogger();
    EXPECT_EQ(LocksTaken([] { ZorLog::ShutdownLogger(); }), 1);
    EXPECT_EQ(deleted, 1) << "the logger's own lock";
    EXPECT_EQ(LocksTaken([] { ZorLog::ShutdownLogger(); }), 0);
    EXPECT_EQ(deleted, 1);
}

TEST_F(ProcessLogger, ASiteThatRunsAfterShutdownWritesNothing) {
    Init();
    LOG_INFO(L"message");
    ZorLog::ShutdownLogger();
    const std::string before = ReadFileBytes(m_path);
    LOG_INFO(L"late");
    ZorLog::SetLogLevel(3);
    LOG_INFO(L"later");
    EXPECT_EQ(ReadFileBytes(m_path), before);
}

TEST_F(ProcessLogger, ASiteThatRunsBeforeInitWritesNothing) {
    LOG_INFO(L"early");
    Init();
    ZorLog::SetLogLevel(1);
    EXPECT_EQ(Lines(), Texts({"-------log start", "-------log lev change"}));
}

TEST_F(ProcessLogger, WithoutMemoryIsNullAndEverythingStaysSilent) {
    {
        const CImportPatch<void*(size_t)> patch("malloc", [&](size_t size) {
            return size == sizeof(ZorLog::LoggerImpl) ? nullptr : patch.Original(size);
        });
        EXPECT_EQ(ZorLog::GetLogger(), nullptr);
        Init();
        ZorLog::SetLogLevel(3);
        EXPECT_FALSE(ZorLog::IsSiteEnabled());
        LOG_INFO(L"message");
        ZorLog::WriteSite("a", 1, L"message");
        ZorLog::ShutdownLogger();
    }
    EXPECT_FALSE(std::filesystem::exists(m_path));
    EXPECT_NE(ZorLog::GetLogger(), nullptr) << "the next call tries again";
}
