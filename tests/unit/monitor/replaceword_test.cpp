#include "monitor/replaceword.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

std::string Replaced(const std::string& text, const std::string& word) {
    return ReplaceWord(text, word, "(x)", WordCase::kAny);
}

TEST(ReplaceWordTest, FindsWholeWordsInAnyLetterCase) {
    EXPECT_EQ(Replaced("on pc, PC-2 and Pc", "PC"), "on (x), (x)-2 and (x)");
    EXPECT_EQ(Replaced("PCI bus of UPC PC_1", "PC"), "PCI bus of UPC PC_1");
}

TEST(ReplaceWordTest, FindsAWordThatBeginsInsideOfWhatIsNone) {
    EXPECT_EQ(Replaced("aa-aa-aa", "aa-aa"), "(x)-aa");
    EXPECT_EQ(Replaced("xaa aa", "aa"), "xaa (x)");
}

TEST(ReplaceWordTest, TakesBytesBeyondAsciiForLetters) {
    EXPECT_EQ(Replaced("das b\xC3\xBCro", "b\xC3\xBCro"), "das (x)");
    EXPECT_EQ(Replaced("B\xC3\xBCrot \xC3\xBCro", "ro"), "B\xC3\xBCrot \xC3\xBCro");
}

TEST(ReplaceWordTest, MindsTheLetterCaseOutsideOfPathsIfAsked) {
    EXPECT_EQ(
        ReplaceWord("the Owner in C:\\Users\\OWNER, owner", "owner", "(x)", WordCase::kAnyInPaths),
        "the Owner in C:\\Users\\(x), (x)");
}

TEST(ReplaceWordTest, FindsNoEmptyWord) { EXPECT_EQ(Replaced("text", ""), "text"); }

}  // namespace
}  // namespace zorvane
