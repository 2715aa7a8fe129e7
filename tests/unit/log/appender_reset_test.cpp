#include <gtest/gtest.h>
#include <io.h>

#include <filesystem>
#include <optional>

#include "src/log/appender.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/log/loglines.h"
#include "tests/unit/log/mutexholder.h"

namespace {

using Texts = std::vector<std::string>;

class AppenderReset : public testing::Test {
  protected:
    AppenderReset() { m_appender.emplace(m_path.c_str(), L"E"); }

    bool FileExists() const { return std::filesystem::exists(m_path); }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"test.log");
    std::optional<ZorLog::LogAppender> m_appender;
};

}  // namespace

TEST_F(AppenderReset, DeletesTheFileAtOnceAndBeginsTheNextOneWithTheResetMarker) {
    m_appender->Flush(L"before", false);
    m_appender->Reset();
    EXPECT_FALSE(FileExists());
    const int size = m_appender->Flush(L"after", false);
    EXPECT_EQ(LogTexts(m_path), Texts({"-------log reset", "after"}));
    EXPECT_EQ(static_cast<size_t>(size), ReadFileBytes(m_path).size());
}

TEST_F(AppenderReset, DropsTheQueuedLines) {
    m_appender->Append(L"never written");
    m_appender->Reset();
    m_appender->Flush(L"after", false);
    EXPECT_EQ(LogTexts(m_path), Texts({"-------log reset", "after"}));
}

TEST_F(AppenderReset, DeletesAFileThatItHasNotOpenedYetAndClosesNothing) {
    WriteFileBytes(m_path, "of a neighbour\r\n");
    int closed = 0;
    PATCH_IMPORT(close, _close, [&](int) { return ++closed; });
    m_appender->Reset();
    EXPECT_EQ(closed, 0);
    EXPECT_FALSE(FileExists());
}

TEST_F(AppenderReset, ClosesTheFileBeforeItDeletesItAndStampsTheMarkerLast) {
    m_appender->Flush(L"before", false);
    Texts calls;
    PATCH_IMPORT(close, _close, [&](int descriptor) {
        calls.push_back("close");
        return close.Original(descriptor);
    });
    PATCH_IMPORT(enter, EnterCriticalSection, [&](LPCRITICAL_SECTION section) {
        calls.push_back("enter");
        enter.Original(section);
    });
    PATCH_IMPORT(remove, _wremove, [&](const wchar_t* path) {
        EXPECT_EQ(path, m_path);
        calls.push_back("remove");
        return remove.Original(path);
    });
    PATCH_IMPORT(convert, WideCharToMultiByte, [&](auto... arguments) {
        calls.push_back("line");
        return convert.Original(arguments...);
    });
    m_appender->Reset();
    EXPECT_EQ(calls, Texts({"close", "enter", "remove", "line", "enter"}));
}

TEST_F(AppenderReset, TwiceClosesOnce) {
    m_appender->Flush(L"before", false);
    int closed = 0;
    PATCH_IMPORT(close, _close, [&](int descriptor) {
        ++closed;
        return close.Original(descriptor);
    });
    m_appender->Reset();
    m_appender->Reset();
    EXPECT_EQ(closed, 1);
    m_appender->Flush(L"after", false);
    EXPECT_EQ(LogTexts(m_path), Texts({"-------log reset", "after"}));
}

TEST_F(AppenderReset, LetsAFailedOpenBeTriedAgain) {
    std::filesystem::create_directory(m_path);
    EXPECT_LT(m_appender->Flush(L"lost", false), 0);
    std::filesystem::remove(m_path);
    EXPECT_LT(m_appender->Flush(L"lost too", false), 0);
    m_appender->Reset();
    EXPECT_GT(m_appender->Flush(L"after", false), 0);
    EXPECT_EQ(LogTexts(m_path), Texts({"-------log reset", "after"}));
}

TEST_F(AppenderReset, LeavesNothingForTheEndToClose) {
    m_appender->Flush(L"before", false);
    int closed = 0;
    PATCH_IMPORT(close, _close, [&](int descriptor) {
        ++closed;
        return close.Original(descriptor);
    });
    m_appender->Reset();
    m_appender.reset();
    EXPECT_EQ(closed, 1);
}
