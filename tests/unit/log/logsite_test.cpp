#include "src/log/logsite.h"

#include <gtest/gtest.h>

#include "tests/support/importpatch.h"
#include "tests/support/testlog.h"
#include "tests/unit/log/loglines.h"

namespace {

constexpr char kLogSource[] = "tests\\logsite_test.cpp";

using Texts = std::vector<std::string>;

struct Prefix {
    const char* behaviour;
    const char* path;
    int line;
    const char* expected;
};

constexpr Prefix kPrefixes[] = {
    {"IsLineAndBaseName", "amdsdk\\utility.cpp", 65, "[  65][utility] "},
    {"CutsAtTheLastBackslash", R"(C:\a\b.c\src\log.cpp)", 1, "[   1][log] "},
    {"CutsAtTheLastDot", "src\\my.file.name.cpp", 12, "[  12][my.file.name] "},
    {"TakesANameOfOneCharacter", "\\a.cpp", 7, "[   7][a] "},
    {"TakesANameWithoutExtensionLetters", "src\\name.", 7, "[   7][name] "},
    {"KeepsSlashesOfTheName", "src\\log/file.cpp", 12, "[  12][log/file] "},
    {"IsTheLineWithoutADot", "src\\utility", 12, "[  12] "},
    {"IsTheLineWithoutABackslash", "utility.cpp", 12, "[  12] "},
    {"IsTheLineWithSlashesOnly", "src/amdsdk/utility.cpp", 12, "[  12] "},
    {"IsTheLineWithNeither", "utility", 12, "[  12] "},
    {"IsTheLineForAnEmptyPath", "", 12, "[  12] "},
    {"IsTheLineForANameWithoutCharacters", "src\\.cpp", 12, "[  12] "},
    {"IsTheLineForADotBeforeTheBackslash", "a.b\\utility", 12, "[  12] "},
    {"FillsFourPlaces", "s\\a.c", 1234, "[1234][a] "},
    {"TakesMoreRoomForALongLine", "s\\a.c", 123456, "[123456][a] "},
    {"ShowsAZeroLine", "a", 0, "[   0] "},
};

class SourcePrefix : public testing::TestWithParam<Prefix> {};

// The text of the only message that `write` logs.
template <typename Write>
std::string Logged(Write write) {
    const CTestLog log;
    write();
    const Texts texts = LogTexts(log.Path());
    return texts.size() == 2 ? texts[1] : std::to_string(texts.size()) + " lines";
}

}  // namespace

TEST_P(SourcePrefix, OfOneForm) {
    EXPECT_EQ(ZorLog::FormatSourcePrefix(GetParam().path, GetParam().line), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Prefixes, SourcePrefix, testing::ValuesIn(kPrefixes),
                         [](const auto& prefix) { return prefix.param.behaviour; });

TEST(LogSite, CutsAPrefixOfMoreThan99Characters) {
    const std::string path = "src\\" + std::string(300, 'n') + ".cpp";
    EXPECT_EQ(ZorLog::FormatSourcePrefix(path.c_str(), 65), "[  65][" + std::string(92, 'n'));
}

TEST(LogSite, JoinsTheLevelThePrefixAndTheMessage) {
    EXPECT_EQ(Logged([] {
                  ZorLog::WriteSite("amdsdk\\utility.cpp", 65, L"service is not running. %d", 1);
              }),
              "[I][  65][utility] service is not running. 1");
}

TEST(LogSite, TakesWideTextForS) {
    EXPECT_EQ(Logged([] { ZorLog::WriteSite("s\\a.c", 1, L"<%s> <%s>", L"wide", L"text"); }),
              "[I][   1][a] <wide> <text>");
}

TEST(LogSite, FormatsNumbers) {
    EXPECT_EQ(Logged([] {
                  ZorLog::WriteSite("s\\a.c", 1, L"%d %u %lu %.2f %X %%", -7, 4294967295u, 8ul,
                                    41.125, 0xABC);
              }),
              "[I][   1][a] -7 4294967295 8 41.13 ABC %");
}

TEST(LogSite, TakesPercentSignsInAnArgumentAsText) {
    EXPECT_EQ(Logged([] { ZorLog::WriteSite("s\\a.c", 1, L"cmd:%s", L"100%s %n %d%"); }),
              "[I][   1][a] cmd:100%s %n %d%");
}

TEST(LogSite, WritesALongMessageWhole) {
    const std::wstring argument(50'000, L'x');
    EXPECT_EQ(Logged([&] { ZorLog::WriteSite("s\\a.c", 1, L"%s.", argument.c_str()); }),
              "[I][   1][a] " + std::string(50'000, 'x') + ".");
}

TEST(LogSite, WritesNullForAMessageWithoutText) {
    EXPECT_EQ(Logged([] { ZorLog::WriteSite("s\\a.c", 1, L"%s", L""); }), "[I][   1][a] (null)");
}

TEST(LogSite, WritesNullForAMessageThatCannotBeFormatted) {
    // A va_list is a char*.
    const CImportPatch<int(const wchar_t*, char*)> count{"_vscwprintf", [](auto...) { return -1; }};
    EXPECT_EQ(Logged([] { ZorLog::WriteSite("s\\a.c", 1, L"text"); }), "[I][   1][a] (null)");
}

TEST(LogSite, WritesNullForANullFormat) {
    EXPECT_EQ(Logged([] { ZorLog::WriteSite("s\\a.c", 1, nullptr); }), "[I][   1][a] (null)");
}

TEST(LogSite, CarriesTheLineItStandsIn) {
    EXPECT_EQ(Logged([] { LOG_INFO(L"here"); }),
              "[I]" + ZorLog::FormatSourcePrefix(kLogSource, __LINE__ - 1) + "here");
}
