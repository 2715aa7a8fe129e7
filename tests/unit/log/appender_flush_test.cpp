#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <sys/timeb.h>
#include <time.h>

#include "src/log/appender.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/log/loglines.h"

namespace {

using Texts = std::vector<std::string>;
using WideTexts = std::vector<std::wstring>;

class AppenderFlush : public testing::Test {
  protected:
    int FileSize() const { return static_cast<int>(ReadFileBytes(m_path).size()); }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"test.log");
    ZorLog::LogAppender m_appender{m_path.c_str(), L"E"};
};

}  // namespace

TEST_F(AppenderFlush, StampsThenOpensThenTakesTheMutexThenWritesThenReleases) {
    Texts calls;
    const auto note = [&](std::string call) { calls.push_back(std::move(call)); };
    PATCH_IMPORT(clock, _ftime64_s, [&](__timeb64* now) {
        note("clock");
        return clock.Original(now);
    });
    const CLocalTimePatch local(LocalTimeEntry(), [&](auto... arguments) {
        note("local time");
        return local.Original(arguments...);
    });
    PATCH_IMPORT(convert, WideCharToMultiByte, [&](auto... arguments) {
        note("convert");
        return convert.Original(arguments...);
    });
    PATCH_IMPORT(enter, EnterCriticalSection, [&](LPCRITICAL_SECTION section) {
        note("enter queue");
        enter.Original(section);
    });
    PATCH_IMPORT(leave, LeaveCriticalSection, [&](LPCRITICAL_SECTION section) {
        note("leave queue");
        leave.Original(section);
    });
    PATCH_IMPORT(openFile, _wsopen_s, [&](auto... arguments) {
        note("open file");
        return openFile.Original(arguments...);
    });
    PATCH_IMPORT(seek, _lseek, [&](int descriptor, long offset, int origin) {
        note("seek " + std::to_string(offset) + (origin == SEEK_END ? " from the end" : ""));
        return seek.Original(descriptor, offset, origin);
    });
    PATCH_IMPORT(openMutex, OpenMutexW, [&](auto... arguments) {
        note("open mutex");
        return openMutex.Original(arguments...);
    });
    PATCH_IMPORT(wait, WaitForSingleObject, [&](HANDLE mutex, DWORD timeoutMs) {
        note("wait " + std::to_string(timeoutMs));
        return wait.Original(mutex, timeoutMs);
    });
    PATCH_IMPORT(write, _write, [&](auto... arguments) {
        note("write");
        return write.Original(arguments...);
    });
    PATCH_IMPORT(release, ReleaseMutex, [&](HANDLE mutex) {
        note("release");
        return release.Original(mutex);
    });
    m_appender.Flush(L"first", false);
    const Texts first = std::exchange(calls, {});
    m_appender.Flush(L"second", false);
    const Texts second = std::exchange(calls, {});

    const Texts append = {"clock", "local time", "convert", "enter queue", "leave queue"};
    const Texts openIt = {"open file", "seek 0 from the end"};
    const Texts writeIt = {"open mutex",  "wait 0", "enter queue",
                           "leave queue", "write",  "release"};
    Texts expected = append;
    expected.insert(expected.end(), openIt.begin(), openIt.end());
    expected.insert(expected.end(), writeIt.begin(), writeIt.end());
    EXPECT_EQ(first, expected);
    expected = append;
    expected.insert(expected.end(), writeIt.begin(), writeIt.end());
    EXPECT_EQ(second, expected);
}

TEST_F(AppenderFlush, OpensTheFileToAppendUntranslatedBytesAndSharesIt) {
    PATCH_IMPORT(open, _wsopen_s,
                 [&](int* descriptor, const wchar_t* path, int flags, int sharing, int permission) {
                     EXPECT_EQ(path, m_path);
                     EXPECT_EQ(flags, 0x8109);
                     EXPECT_EQ(sharing, 0x40);
                     EXPECT_EQ(permission, 0x180);
                     return open.Original(descriptor, path, flags, sharing, permission);
                 });
    m_appender.Flush(L"line", false);
    EXPECT_EQ(LogTexts(m_path), Texts({"line"}));
}

TEST_F(AppenderFlush, AnswersTheSizeOfTheFileThatItFoundAndOfWhatItAdded) {
    WriteFileBytes(m_path, "of a neighbour\r\n");
    for (const wchar_t* text : {L"first", L"second line"}) {
        SCOPED_TRACE(testing::PrintToString(text));
        const int size = m_appender.Flush(text, false);
        EXPECT_EQ(size, FileSize());
    }
    EXPECT_TRUE(ReadFileBytes(m_path).starts_with("of a neighbour\r\n"));
}

TEST_F(AppenderFlush, CountsOnlyItsOwnLinesAfterTheFileIsOpen) {
    const int before = m_appender.Flush(L"first", false);
    ZorLog::LogAppender neighbour(m_path.c_str(), L"E");
    neighbour.Flush(L"of a neighbour", false);
    const int added = m_appender.Flush(L"third", false) - before;
    EXPECT_EQ(added, before);
    EXPECT_EQ(LogTexts(m_path), Texts({"first", "of a neighbour", "third"}));
}

TEST_F(AppenderFlush, WritesTheQueueInOrderWithOneCallALine) {
    m_appender.Append(L"one");
    m_appender.Append(L"two");
    Texts written;
    PATCH_IMPORT(write, _write, [&](int descriptor, const void* bytes, unsigned length) {
        written.emplace_back(static_cast<const char*>(bytes), length);
        return write.Original(descriptor, bytes, length);
    });
    m_appender.Flush(L"three", false);
    EXPECT_EQ(LogTexts(m_path), Texts({"one", "two", "three"}));
    ASSERT_EQ(written.size(), 3u);
    EXPECT_EQ(written[0] + written[1] + written[2], ReadFileBytes(m_path));
    for (const std::string& line : written) {
        EXPECT_TRUE(line.ends_with("\r\n")) << line;
    }
}

TEST_F(AppenderFlush, AppendAloneWritesNothing) {
    m_appender.Append(L"queued");
    EXPECT_EQ(ReadFileBytes(m_path), "");
}

TEST_F(AppenderFlush, AFailedWriteCostsOneFromTheSizeAndItsLine) {
    const int before = m_appender.Flush(L"first", false);
    {
        PATCH_IMPORT(write, _write, [](auto...) { return -1; });
        EXPECT_EQ(m_appender.Flush(L"lost", false), before - 1);
    }
    m_appender.Flush(L"third", false);
    EXPECT_EQ(LogTexts(m_path), Texts({"first", "third"}));
}

TEST_F(AppenderFlush, WithoutTheLogFolderTellsTheDebuggerOnceAndDropsTheLines) {
    const std::wstring folder = m_folder.PathOf(L"Log");
    const std::wstring path = folder + L"\\test.log";
    WideTexts messages;
    PATCH_IMPORT(debugger, OutputDebugStringW, [&](LPCWSTR text) { messages.push_back(text); });
    ZorLog::LogAppender appender(path.c_str(), L"E");
    EXPECT_EQ(appender.Flush(L"lost", false), -2);
    EXPECT_EQ(appender.Flush(L"lost", false), -3);
    CreateDirectoryW(folder.c_str(), nullptr);
    EXPECT_EQ(appender.Flush(L"lost", true), -4) << "a failed open is not tried again";

    EXPECT_EQ(messages, WideTexts({L"open " + path + L" error. [2]\r\n"}));
    EXPECT_EQ(ReadFileBytes(path), "");
}

TEST_F(AppenderFlush, TellsTheDebuggerTheErrorNumberOfTheRuntimeLibrary) {
    CreateDirectoryW(m_path.c_str(), nullptr);
    WideTexts messages;
    PATCH_IMPORT(debugger, OutputDebugStringW, [&](LPCWSTR text) { messages.push_back(text); });
    EXPECT_LT(m_appender.Flush(L"lost", false), 0);
    EXPECT_EQ(messages, WideTexts({L"open " + m_path + L" error. [13]\r\n"}));
}

TEST_F(AppenderFlush, TellsTheDebuggerNothingWhenAllGoesWell) {
    WideTexts messages;
    PATCH_IMPORT(debugger, OutputDebugStringW, [&](LPCWSTR text) { messages.push_back(text); });
    m_appender.Flush(L"line", true);
    EXPECT_EQ(messages, WideTexts());
}

TEST_F(AppenderFlush, LosesNoQueuedLineWhileOtherThreadsAppend) {
    constexpr int kThreads = 4;
    constexpr int kLines = 200;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&] {
            for (int line = 0; line < kLines; ++line) {
                m_appender.Append(L"appended");
            }
        });
    }
    for (int line = 0; line < kLines; ++line) {
        m_appender.Flush(L"flushed", false);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    m_appender.Flush(L"flushed", false);
    const Texts texts = LogTexts(m_path);
    EXPECT_EQ(std::count(texts.begin(), texts.end(), "appended"), kThreads * kLines);
    EXPECT_EQ(std::count(texts.begin(), texts.end(), "flushed"), kLines + 1);
}
