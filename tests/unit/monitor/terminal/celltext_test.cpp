#include "monitor/terminal/celltext.h"

#include <gtest/gtest.h>

#include "monitor/terminal/characterranges.h"

namespace zorvane {
namespace {

const char kWide[] = "\xE6\xBC\xA2\xE5\xAD\x97";  // two Chinese characters
const char kAccent[] = "e\xCC\x81x";              // e, combining acute accent, x
const char kBlock[] = "\xE2\x96\x88";             // full block
const char kFace[] = "\xF0\x9F\x98\x80";          // a face, outside of the basic plane

TEST(CellTextTest, CountsCellsAsTerminalsDo) {
    EXPECT_EQ(CellsOf(""), 0u);
    EXPECT_EQ(CellsOf("abc"), 3u);
    EXPECT_EQ(CellsOf("\xC3\x84"), 1u);
    EXPECT_EQ(CellsOf(kWide), 4u);
    EXPECT_EQ(CellsOf(kAccent), 2u);
    EXPECT_EQ(CellsOf(kBlock), 1u);
    EXPECT_EQ(CellsOf(kFace), 2u);
    EXPECT_EQ(CellsOf("a\xE2\x80\x8B"
                      "b"),
              2u)
        << "zero width space";
    EXPECT_EQ(CellsOf("\xEF\xBC\xA1"), 2u) << "full-width A";
    EXPECT_EQ(CellsOf("\xEF\xBD\xB1"), 1u) << "half-width katakana";
}

TEST(CellTextTest, HasItsRangesInOrder) {
    const auto check = [](const CharacterRange* ranges, size_t count) {
        for (size_t i = 0; i < count; ++i) {
            EXPECT_LE(ranges[i].first, ranges[i].last);
            EXPECT_TRUE(i == 0 || ranges[i - 1].last < ranges[i].first)
                << uint32_t{ranges[i].first};
        }
    };
    check(kZeroCells, std::size(kZeroCells));
    check(kTwoCells, std::size(kTwoCells));
}

TEST(CellTextTest, CutsBetweenCharactersAndKeepsAccents) {
    EXPECT_EQ(CutToCells("abc", 2), "ab");
    EXPECT_EQ(CutToCells("abc", 3), "abc");
    EXPECT_EQ(CutToCells(kWide, 3), "\xE6\xBC\xA2");
    EXPECT_EQ(CutToCells(kWide, 1), "");
    EXPECT_EQ(CutToCells(kAccent, 1), "e\xCC\x81");
}

TEST(CellTextTest, SaysThatItLeftSomethingOut) {
    EXPECT_EQ(ShortenedToCells("abc", 3), "abc");
    EXPECT_EQ(ShortenedToCells("abcd", 3), "ab\xE2\x80\xA6");
    EXPECT_EQ(ShortenedToCells(kWide, 3), "\xE6\xBC\xA2\xE2\x80\xA6");
    EXPECT_EQ(ShortenedToCells("abcd", 0), "");
}

TEST(CellTextTest, PadsToCells) {
    EXPECT_EQ(PaddedToCells("ab", 4), "ab  ");
    EXPECT_EQ(PaddedToCells(kWide, 5), std::string(kWide) + " ");
    EXPECT_EQ(PaddedToCells("abcde", 4), "abcde");
}

TEST(CellTextTest, LetsNothingSteerTheTerminal) {
    EXPECT_EQ(Harmless("a\x1b[2J\r\n\x7F"
                       "b"),
              "a?[2J???b");
    EXPECT_EQ(Harmless("\xC2\x9B"
                       "1m"),
              "?1m")
        << "the one-character form of escape and bracket";
    EXPECT_EQ(Harmless("a\xE2\x80\xA8"
                       "b"),
              "a?b")
        << "line separator";
    EXPECT_EQ(Harmless(L"\x00C4 \x6F22"), "\xC3\x84 \xE6\xBC\xA2");
}

TEST(CellTextTest, LetsNothingTurnTheDirectionOfWriting) {
    EXPECT_EQ(Harmless(L"RTX \x202E"
                       L"0904\x2066x\x2069 \x200F\x061C"),
              "RTX ?0904?x? ??");
}

TEST(CellTextTest, ReadsNothingBehindTextThatIsCutOff) {
    EXPECT_EQ(CellsOf("\xE6\xBC"), 1u);
    EXPECT_EQ(CutToCells("\xF0", 5), "\xF0");
}

}  // namespace
}  // namespace zorvane
