#include "client/c/options.h"

#include <gtest/gtest.h>

#include "base/modulepath.h"

namespace zorvane {
namespace {

using namespace std::chrono_literals;

class OptionsTest : public testing::Test {
  protected:
    OptionsTest() { m_given.size = sizeof(m_given); }

    const ClientOptions& Read() {
        const auto fault = ReadOptions(m_given, m_options);
        EXPECT_FALSE(fault) << fault->member << ": " << fault->text;
        return m_options;
    }

    ZorvaneOptions m_given{};
    ClientOptions m_options;
};

TEST_F(OptionsTest, HaveDefaults) {
    const ClientOptions& options = Read();
    EXPECT_EQ(options.keeper.worker.host, ModuleFolder(nullptr) + L"zorvanehost.exe");
    EXPECT_EQ(options.keeper.worker.libraryPath, L"");
    EXPECT_EQ(options.keeper.worker.entry, L"zorvane");
    EXPECT_TRUE(options.keeper.worker.words.empty());
    EXPECT_TRUE(options.keeper.restart);
    EXPECT_EQ(options.keeper.stale.staleAfter, 5s);
    EXPECT_EQ(options.keeper.stale.restartAfter, 30s);
    EXPECT_EQ(options.keeper.stop.afterAsking, 5s);
    EXPECT_EQ(options.keeper.stop.afterTakingWindow, 10s);
    EXPECT_EQ(options.queueLength, 1024u);
}

TEST_F(OptionsTest, TakeTextsByTheirNulOrTheirLength) {
    m_given.host = "C:\\h\xC3\xA4st.exe";
    m_given.entry = "entryXXX";
    m_given.entryLength = 5;
    m_given.library = "";
    const ClientOptions& options = Read();
    EXPECT_EQ(options.keeper.worker.host, L"C:\\h\x00E4st.exe");
    EXPECT_EQ(options.keeper.worker.entry, L"entry");
    EXPECT_EQ(options.keeper.worker.libraryPath, L"");
}

TEST_F(OptionsTest, TakeOneWordAndOneVariableALine) {
    m_given.words = "one\r\n\ntwo words\n";
    m_given.variables = "A=1\nB=x=y\n";
    m_given.flags = kZorvaneKeepDriver | kZorvaneNoRestart;
    const ClientOptions& options = Read();
    EXPECT_EQ(options.keeper.worker.words,
              (std::vector<std::wstring>{L"one", L"two words", L"skip_delete"}));
    ASSERT_EQ(options.keeper.worker.environment.size(), 2u);
    EXPECT_EQ(options.keeper.worker.environment[1].name, L"B");
    EXPECT_EQ(options.keeper.worker.environment[1].value, L"x=y");
    EXPECT_FALSE(options.keeper.restart);
}

TEST_F(OptionsTest, RestartNoEarlierThanReadingsCountAsGone) {
    m_given.staleAfterMs = 60000;
    EXPECT_EQ(Read().keeper.stale.restartAfter, 60s);
    m_given.restartAfterMs = 90000;
    EXPECT_EQ(Read().keeper.stale.restartAfter, 90s);
}

TEST_F(OptionsTest, HaveAGreatestAgeIfOneIsGiven) {
    EXPECT_FALSE(Read().keeper.maxAge);
    m_given.maxAgeSeconds = 7 * 24 * 3600;
    EXPECT_EQ(Read().keeper.maxAge, std::chrono::hours(7 * 24));
}

TEST_F(OptionsTest, OfTheFirstVersionEndBeforeTheGreatestAge) {
    // What lies there in such a program belongs to somebody else.
    m_given.maxAgeSeconds = 1;
    m_given.reserved = 1;
    m_given.afterWindowMs = 20;
    m_given.size = 104;
    EXPECT_FALSE(Read().keeper.maxAge);
    EXPECT_EQ(Read().keeper.stop.afterTakingWindow, 20ms);
}

TEST_F(OptionsTest, RefuseAVariableWithoutANameOrAValue) {
    for (const char* lines : {"=1", "A=1\nB\n"}) {
        m_given.variables = lines;
        const auto fault = ReadOptions(m_given, m_options);
        ASSERT_TRUE(fault) << lines;
        EXPECT_EQ(fault->member, "variables");
    }
}

}  // namespace
}  // namespace zorvane
