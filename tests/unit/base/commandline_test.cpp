#include "base/commandline.h"

#include <gtest/gtest.h>

#include <random>

namespace zorvane {
namespace {

TEST(CommandLineTest, LeavesAPlainWordAlone) {
    EXPECT_EQ(QuoteWord(L"--entry=Temp"), L"--entry=Temp");
    EXPECT_EQ(QuoteWord(L"C:\\a\\"), L"C:\\a\\");
}

TEST(CommandLineTest, QuotesTheEmptyWordAndWordsWithBlanks) {
    EXPECT_EQ(QuoteWord(L""), L"\"\"");
    EXPECT_EQ(QuoteWord(L"a b"), L"\"a b\"");
}

TEST(CommandLineTest, DoublesBackslashesOnlyBeforeAQuotationMark) {
    EXPECT_EQ(QuoteWord(L"a b\\c"), L"\"a b\\c\"");
    EXPECT_EQ(QuoteWord(L"a b\\"), L"\"a b\\\\\"");
    EXPECT_EQ(QuoteWord(L"a\\\"b"), L"\"a\\\\\\\"b\"");
}

TEST(CommandLineTest, SplitsWhatWindowsSplits) {
    EXPECT_EQ(SplitCommandLine(L"\"C:\\a b\\c.exe\"  x \"y z\" \"\""),
              (std::vector<std::wstring>{L"C:\\a b\\c.exe", L"x", L"y z", L""}));
}

TEST(CommandLineTest, GivesAnyQuotedWordBack) {
    std::mt19937 random(20241122);
    const std::wstring alphabet = L"a =\\\"\t\u00E4%";
    for (int i = 0; i < 3000; ++i) {
        SCOPED_TRACE(i);
        std::wstring word;
        for (auto length = random() % 8; length > 0; --length) {
            word += alphabet[random() % alphabet.size()];
        }
        ASSERT_EQ(SplitCommandLine(L"program " + QuoteWord(word)).at(1), word);
    }
}

}  // namespace
}  // namespace zorvane
