#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "src/log/appender.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/log/loglines.h"
#include "tests/unit/log/logwriterprocess.h"

namespace {

using Texts = std::vector<std::string>;

class LogProcesses : public testing::Test {
  protected:
    // The command that has a writer take the log's mutex.
    std::string HoldCommand() const {
        const std::wstring name = LogMutexName(m_path);
        return "hold " + std::string(name.begin(), name.end());
    }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"test.log");
};

Texts WithoutMarkers(const Texts& texts) {
    Texts others;
    std::copy_if(texts.begin(), texts.end(), std::back_inserter(others),
                 [](const std::string& text) { return !text.starts_with("-------"); });
    return others;
}

}  // namespace

TEST_F(LogProcesses, OneThatStartsWhileAnotherRunsAppendsToItsFile) {
    CLogWriterProcess first(m_path);
    first.Do("write first");
    CLogWriterProcess second(m_path);
    EXPECT_EQ(LogTexts(m_path), Texts({"-------log start", "first"}));
    second.Do("write second");
    first.Do("write first again");
    EXPECT_EQ(LogTexts(m_path),
              Texts({"-------log start", "first", "-------log start", "second", "first again"}));
}

TEST_F(LogProcesses, OneThatStartsAfterTheFirstHasEndedAppendsWhileAnyOtherRuns) {
    CLogWriterProcess first(m_path);
    CLogWriterProcess second(m_path);
    first.Do("write first");
    first.End();
    CLogWriterProcess third(m_path);
    third.Do("write third");
    EXPECT_EQ(WithoutMarkers(LogTexts(m_path)), Texts({"first", "third"}));
}

TEST_F(LogProcesses, OneThatStartsAfterAllHaveEndedStartsTheFileAfresh) {
    CLogWriterProcess first(m_path);
    CLogWriterProcess second(m_path);
    first.Do("write first");
    second.Do("close");
    first.End();
    second.Kill();
    EXPECT_TRUE(std::filesystem::exists(m_path));
    CLogWriterProcess third(m_path);
    EXPECT_FALSE(std::filesystem::exists(m_path));
    third.Do("write third");
    EXPECT_EQ(LogTexts(m_path), Texts({"-------log start", "third"}));
}

TEST_F(LogProcesses, OneThatHasClosedItsLogStillKeepsTheFile) {
    CLogWriterProcess first(m_path);
    first.Do("write first");
    first.Do("close");
    CLogWriterProcess second(m_path);
    second.Do("write second");
    EXPECT_EQ(LogTexts(m_path),
              Texts({"-------log start", "first", "-------log end", "-------log start", "second"}));
}

TEST_F(LogProcesses, OneThatHoldsTheMutexKeepsTheOthersLinesQueued) {
    ZorLog::LogAppender appender(m_path.c_str(), L"E");
    CLogWriterProcess other(m_path);
    other.Do(HoldCommand());
    appender.Flush(L"one", false);
    appender.Flush(L"two", false);
    EXPECT_EQ(LogTexts(m_path), Texts());
    other.Kill();
    appender.Flush(L"three", false);
    appender.Flush(L"four", false);
    EXPECT_EQ(LogTexts(m_path), Texts({"one", "two", "three", "four"}));
}

TEST_F(LogProcesses, ThatDieWithTheMutexLeaveItToTheOthers) {
    CLogWriterProcess survivor(m_path);
    CLogWriterProcess dying(m_path);
    dying.Do(HoldCommand());
    dying.Kill();
    survivor.Do("write after");
    EXPECT_EQ(LogTexts(m_path), Texts({"-------log start", "after"}));
    CLogWriterProcess later(m_path);
    later.Do("write later");
    EXPECT_EQ(WithoutMarkers(LogTexts(m_path)), Texts({"after", "later"}));
}

TEST_F(LogProcesses, ThatWriteAtOnceLoseNoLineAndTearNone) {
    constexpr int kLines = 500;
    CLogWriterProcess first(m_path);
    CLogWriterProcess second(m_path);
    first.Begin("burst " + std::to_string(kLines));
    second.Begin("burst " + std::to_string(kLines));
    first.Finish();
    second.Finish();
    // The lines queued while the other process wrote are written with the end marker.
    first.Do("close");
    second.Do("close");

    Texts texts = WithoutMarkers(LogTexts(m_path));
    Texts expected;
    for (int line = 0; line < kLines; ++line) {
        expected.insert(expected.end(), 2, std::to_string(line));
    }
    std::sort(texts.begin(), texts.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(texts, expected);
}
