#include "base/text.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

TEST(TextTest, ConvertsBothWays) {
    EXPECT_EQ(ToUtf8(L"\x00B0 \x20AC \xD83D\xDE00"), "\xC2\xB0 \xE2\x82\xAC \xF0\x9F\x98\x80");
    EXPECT_EQ(ToWide("\xC2\xB0 \xE2\x82\xAC \xF0\x9F\x98\x80"), L"\x00B0 \x20AC \xD83D\xDE00");
}

TEST(TextTest, ConvertsTheEmptyTextAndKeepsNulCharacters) {
    EXPECT_EQ(ToUtf8(L""), "");
    EXPECT_EQ(ToWide(""), L"");
    EXPECT_EQ(ToUtf8({L"a\0b", 3}), std::string("a\0b", 3));
}

TEST(TextTest, ReplacesHalfASurrogatePair) { EXPECT_EQ(ToUtf8(L"a\xD83D!"), "a\xEF\xBF\xBD!"); }

TEST(TextTest, ReplacesBytesThatAreNotUtf8) { EXPECT_EQ(ToWide("a\xFF!"), L"a\xFFFD!"); }

}  // namespace
}  // namespace zorvane
