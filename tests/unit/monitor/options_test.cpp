#include "monitor/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "monitor/outcome.h"

namespace zorvane {
namespace {

using testing::HasSubstr;
using Words = std::vector<std::string>;

Options Parsed(const Words& words) {
    const auto result = ParseOptions(words, L"C:\\default host.exe");
    if (const auto* end = std::get_if<ParseEnd>(&result)) {
        ADD_FAILURE() << end->text;
        return {};
    }
    return std::get<Options>(result);
}

ParseEnd Refused(const Words& words) {
    const auto result = ParseOptions(words, L"host.exe");
    if (!std::holds_alternative<ParseEnd>(result)) {
        ADD_FAILURE() << "accepted: " << testing::PrintToString(words);
        return {};
    }
    return std::get<ParseEnd>(result);
}

TEST(OptionsTest, HasDefaultsForEverything) {
    const Options options = Parsed({});
    EXPECT_EQ(options.worker.host, L"C:\\default host.exe");
    EXPECT_EQ(options.worker.libraryPath, L"");
    EXPECT_EQ(options.worker.entry, L"zorvanemon");
    EXPECT_TRUE(options.worker.words.empty());
    EXPECT_TRUE(options.worker.environment.empty());
    EXPECT_EQ(options.format, Format::kTable);
    EXPECT_FALSE(options.count);
    EXPECT_FALSE(options.duration);
    EXPECT_TRUE(options.restart);
}

TEST(OptionsTest, TakesEveryOption) {
    const Options options =
        Parsed({"--host", "a b.exe", "--library=x.dll", "--entry", "\xC3\x84", "--format", "json",
                "--count", "3", "--duration", "1.5", "--env", "A=1", "--env", "B=x=y",
                "--no-restart", "skip_delete", "/word"});
    EXPECT_EQ(options.worker.host, L"a b.exe");
    EXPECT_EQ(options.worker.libraryPath, L"x.dll");
    EXPECT_EQ(options.worker.entry, L"\x00C4");
    EXPECT_EQ(options.format, Format::kJson);
    EXPECT_EQ(options.count, 3u);
    EXPECT_EQ(options.duration, std::chrono::milliseconds(1500));
    ASSERT_EQ(options.worker.environment.size(), 2u);
    EXPECT_EQ(options.worker.environment[1].name, L"B");
    EXPECT_EQ(options.worker.environment[1].value, L"x=y");
    EXPECT_FALSE(options.restart);
    EXPECT_EQ(options.worker.words, (std::vector<std::wstring>{L"skip_delete", L"/word"}));
}

TEST(OptionsTest, DoesNotTakeAWordBehindAVariableForAnotherVariable) {
    const Options options = Parsed({"--env", "A=1", "skip_delete"});
    EXPECT_EQ(options.worker.environment.size(), 1u);
    EXPECT_EQ(options.worker.words, std::vector<std::wstring>{L"skip_delete"});
}

TEST(OptionsTest, PassesWordsWithDashesBehindTwoDashes) {
    EXPECT_EQ(Parsed({"--", "--count", "-x"}).worker.words,
              (std::vector<std::wstring>{L"--count", L"-x"}));
}

TEST(OptionsTest, RefusesWordsThatWouldUndoTheOptions) {
    for (const char* word : {"--wnd=5", "--WND", "--Entry=x", "--library=y"}) {
        SCOPED_TRACE(word);
        const ParseEnd end = Refused({"--", word});
        EXPECT_EQ(end.exitCode, kExitUsage);
        EXPECT_THAT(end.text, HasSubstr(word));
    }
}

TEST(OptionsTest, NamesWhatIsWrongWithAValue) {
    for (const char* count : {"0", "000", "-1", "1.5", "x", "", "99999999999999999999"}) {
        SCOPED_TRACE(count);
        const ParseEnd end = Refused({"--count", count});
        EXPECT_EQ(end.exitCode, kExitUsage);
        EXPECT_THAT(end.text, HasSubstr("--count")) << count;
    }
    for (const char* seconds : {"0", "-1", "x", "nan", "inf", "1e10"}) {
        EXPECT_THAT(Refused({"--duration", seconds}).text, HasSubstr("--duration")) << seconds;
    }
    for (const char* variable : {"A", "=x", ""}) {
        EXPECT_THAT(Refused({"--env", variable}).text, HasSubstr("--env")) << variable;
    }
    EXPECT_THAT(Refused({"--format", "xml"}).text, HasSubstr("xml"));
    EXPECT_THAT(Refused({"--host"}).text, HasSubstr("--host"));
    EXPECT_THAT(Refused({"--unknown"}).text, HasSubstr("--unknown"));
}

TEST(OptionsTest, NeverRoundsADurationDownToNothing) {
    EXPECT_EQ(Parsed({"--duration", "0.0001"}).duration, std::chrono::milliseconds(1));
}

TEST(OptionsTest, HelpsWithOptionsAndExitCodes) {
    const ParseEnd end = Refused({"--help"});
    EXPECT_EQ(end.exitCode, kExitDone);
    for (const char* text : {"--host", "--library", "--entry", "--format", "--count", "--duration",
                             "--env", "--no-restart", "skip_delete", "Exit codes", "\n  6  "}) {
        SCOPED_TRACE(text);
        EXPECT_THAT(end.text, HasSubstr(text));
    }
}

TEST(OptionsTest, TellsItsVersion) {
    const ParseEnd end = Refused({"--version"});
    EXPECT_EQ(end.exitCode, kExitDone);
    EXPECT_THAT(end.text, testing::MatchesRegex("zorvanemon .*\n"));
}

}  // namespace
}  // namespace zorvane
