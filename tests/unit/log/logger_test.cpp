#include "src/log/logger.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <io.h>
#include <shlwapi.h>
#include <sys/timeb.h>

#include <filesystem>

#include "src/log/appender.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/support/virtualslot.h"
#include "tests/unit/log/loglines.h"
#include "tests/unit/log/mutexwaits.h"

namespace {

using Texts = std::vector<std::string>;
using ZorLog::Logger;

// Owns the mutex and releases it as soon as somebody waits.
DWORD BusyAtFirst(HANDLE, DWORD timeoutMs) { return timeoutMs == 0 ? WAIT_TIMEOUT : WAIT_OBJECT_0; }

class LoggerTest : public testing::Test {
  protected:
    ~LoggerTest() override { m_logger.Close(); }

    void Init() { m_logger.Init(m_path.c_str(), L"E"); }
    Texts Lines() const { return LogTexts(m_path); }

    // The threshold, found through IsEnabled.
    int Threshold() {
        int level = -5;
        while (level < 10 && !m_logger.IsEnabled(level)) {
            ++level;
        }
        return level;
    }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"test.log");
    ZorLog::LoggerImpl m_implementation;
    Logger& m_logger = m_implementation;
};

}  // namespace

TEST_F(LoggerTest, HasItsOperationsInTheirOrderBehindTheDestructor) {
    EXPECT_EQ(VirtualSlot(&Logger::Init), 2u);
    EXPECT_EQ(VirtualSlot(&Logger::Reset), 3u);
    EXPECT_EQ(VirtualSlot(&Logger::Close), 4u);
    EXPECT_EQ(VirtualSlot(&Logger::SetLevel), 5u);
    EXPECT_EQ(VirtualSlot(&Logger::IsEnabled), 6u);
    EXPECT_EQ(VirtualSlot(&Logger::Write), 7u);
}

TEST_F(LoggerTest, BeginsWithTheThresholdOne) { EXPECT_EQ(Threshold(), 1); }

TEST_F(LoggerTest, WantsMessagesAtOrAboveTheThreshold) {
    Init();
    EXPECT_FALSE(m_logger.IsEnabled(0));
    EXPECT_TRUE(m_logger.IsEnabled(1));
    EXPECT_TRUE(m_logger.IsEnabled(2));
    m_logger.SetLevel(3);
    EXPECT_FALSE(m_logger.IsEnabled(2));
    EXPECT_TRUE(m_logger.IsEnabled(3));
}

TEST_F(LoggerTest, WritesTheStartMarkerOnlyWithTheFirstMessage) {
    Init();
    EXPECT_FALSE(std::filesystem::exists(m_path));
    m_logger.Write(L"message");
    EXPECT_EQ(Lines(), Texts({"-------log start", "message"}));
}

TEST_F(LoggerTest, InitOpensTheLogThenLooksForTheMarkerFileThenQueuesTheStart) {
    Texts calls;
    PATCH_IMPORT(open, OpenMutexW, [&](auto... arguments) {
        calls.push_back("open");
        return open.Original(arguments...);
    });
    PATCH_IMPORT(exists, PathFileExistsW, [&](LPCWSTR path) {
        EXPECT_EQ(path, m_path + L".on");
        calls.push_back("marker file");
        return exists.Original(path);
    });
    PATCH_IMPORT(clock, _ftime64_s, [&](__timeb64* now) {
        calls.push_back("start");
        return clock.Original(now);
    });
    Init();
    EXPECT_EQ(calls, Texts({"open", "marker file", "start"}));
}

TEST_F(LoggerTest, InitAgainKeepsTheAppenderSetsTheThresholdAndQueuesAnotherStart) {
    Init();
    m_logger.SetLevel(3);
    const std::wstring other = m_folder.PathOf(L"other.log");
    m_logger.Init(other.c_str(), L"F");
    EXPECT_EQ(Threshold(), 1);
    m_logger.Write(L"message");
    EXPECT_FALSE(std::filesystem::exists(other));
    EXPECT_EQ(Lines(),
              Texts({"-------log start", "-------log off", "-------log start", "message"}));
}

TEST_F(LoggerTest, WithTheMarkerFileWantsEverythingForGood) {
    WriteFileBytes(m_path + L".on", "");
    Init();
    EXPECT_EQ(Threshold(), 0);
    m_logger.SetLevel(3);
    m_logger.SetLevel(1);
    EXPECT_EQ(Threshold(), 0);
    m_logger.Write(L"message");
    EXPECT_EQ(Lines(), Texts({"-------log start", "message"}));
}

TEST_F(LoggerTest, TakesNoOtherFileForTheMarkerFile) {
    WriteFileBytes(m_path + L".off", "");
    WriteFileBytes(m_folder.PathOf(L"test.on"), "");
    Init();
    EXPECT_EQ(Threshold(), 1);
    m_logger.SetLevel(3);
    EXPECT_EQ(Threshold(), 3);
}

TEST_F(LoggerTest, LevelThreeWritesTheOffMarkerEachTime) {
    Init();
    m_logger.SetLevel(3);
    m_logger.SetLevel(3);
    m_logger.SetLevel(3);
    EXPECT_EQ(Lines(),
              Texts({"-------log start", "-------log off", "-------log off", "-------log off"}));
}

TEST_F(LoggerTest, OtherLevelsWriteTheChangeMarkerAlsoWhenTheLevelStays) {
    Init();
    for (const int level : {1, 1, 0, 2, 4, -1}) {
        SCOPED_TRACE(level);
        m_logger.SetLevel(level);
        EXPECT_EQ(Threshold(), level);
    }
    Texts expected(7, "-------log lev change");
    expected.front() = "-------log start";
    EXPECT_EQ(Lines(), expected);
}

TEST_F(LoggerTest, WritesWhateverTheLevelIs) {
    Init();
    m_logger.SetLevel(3);
    m_logger.Write(L"message");
    EXPECT_EQ(Lines().back(), "message");
}

TEST_F(LoggerTest, MessagesAndTheChangeMarkerDoNotWaitForANeighbour) {
    Init();
    {
        const CMutexWaits waits(&BusyAtFirst);
        m_logger.Write(L"message");
        m_logger.SetLevel(2);
        EXPECT_EQ(waits.TimeoutsMs(), std::vector<DWORD>({0, 0}));
    }
    EXPECT_EQ(Lines(), Texts());
    m_logger.Write(L"next");
    EXPECT_EQ(Lines(), Texts({"-------log start", "message", "-------log lev change", "next"}));
}

TEST_F(LoggerTest, TheOffAndTheEndMarkerWaitForANeighbour) {
    Init();
    const CMutexWaits waits(&BusyAtFirst);
    m_logger.SetLevel(3);
    EXPECT_EQ(waits.TimeoutsMs(), std::vector<DWORD>({0, INFINITE}));
    m_logger.Close();
    EXPECT_EQ(waits.TimeoutsMs(), std::vector<DWORD>({0, INFINITE, 0, INFINITE}));
    EXPECT_EQ(Lines(), Texts({"-------log start", "-------log off", "-------log end"}));
}

TEST_F(LoggerTest, ResetStartsTheFileAfresh) {
    Init();
    m_logger.Write(L"before");
    m_logger.Reset();
    EXPECT_FALSE(std::filesystem::exists(m_path));
    m_logger.Write(L"after");
    EXPECT_EQ(Lines(), Texts({"-------log reset", "after"}));
}

TEST_F(LoggerTest, CloseWritesTheEndMarkerAndLaterMessagesGoNowhere) {
    Init();
    m_logger.Write(L"message");
    m_logger.Close();
    const std::string closed = ReadFileBytes(m_path);
    m_logger.Write(L"late");
    m_logger.SetLevel(3);
    m_logger.Reset();
    m_logger.Close();
    EXPECT_EQ(LogTexts(m_path), Texts({"-------log start", "message", "-------log end"}));
    EXPECT_EQ(ReadFileBytes(m_path), closed);
}

TEST_F(LoggerTest, WithoutAnAppenderDoesNothingButKeepTheLevel) {
    m_logger.Write(L"message");
    m_logger.Reset();
    m_logger.SetLevel(3);
    EXPECT_EQ(Threshold(), 3);
    m_logger.Close();
    EXPECT_FALSE(std::filesystem::exists(m_path));
}

TEST_F(LoggerTest, WithoutMemoryForTheAppenderGoesOnWithoutOne) {
    {
        const CImportPatch<void*(size_t)> patch("malloc", [&](size_t size) {
            return size == sizeof(ZorLog::LogAppender) ? nullptr : patch.Original(size);
        });
        Init();
    }
    EXPECT_EQ(Threshold(), 1);
    m_logger.Write(L"message");
    EXPECT_FALSE(std::filesystem::exists(m_path));
    Init();
    m_logger.Write(L"message");
    EXPECT_EQ(Lines(), Texts({"-------log start", "message"}));
}

TEST_F(LoggerTest, CountsANullPathAsEmpty) {
    std::vector<std::wstring> paths;
    PATCH_IMPORT(remove, _wremove, [&](const wchar_t* path) {
        paths.emplace_back(path);
        return -1;
    });
    PATCH_IMPORT(look, PathFileExistsW, [&](const wchar_t* path) {
        paths.emplace_back(path);
        return FALSE;
    });
    PATCH_IMPORT(open, _wsopen_s, [&](int* file, const wchar_t* path, auto...) {
        paths.emplace_back(path);
        *file = -1;
        return ENOENT;
    });
    m_logger.Init(nullptr, nullptr);
    EXPECT_EQ(Threshold(), 1);
    m_logger.Write(L"lost");
    EXPECT_EQ(paths, std::vector<std::wstring>({L"", L".on", L""}));
}
