#include "client/wiretext.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace zorvane {
namespace {

TEST(WireTextTest, ReadsAsATextThatEndsWithANul) {
    const WireText text(L"T4");
    EXPECT_EQ(std::wstring_view(text), L"T4");
    EXPECT_STREQ(text.c_str(), L"T4");
    EXPECT_EQ(text.str(), L"T4");
    EXPECT_EQ(text.size(), 2u);
    EXPECT_FALSE(text.empty());
    EXPECT_TRUE(WireText().empty());
    EXPECT_STREQ(WireText().c_str(), L"");
}

TEST(WireTextTest, IsEqualByItsCharacters) {
    EXPECT_TRUE(WireBytes("ab") == "ab");
    EXPECT_TRUE(WireBytes("ab") == std::string("ab"));
    EXPECT_TRUE(WireBytes("ab") != "abc");
    EXPECT_FALSE(WireBytes("ab") == "ac");
}

TEST(WireTextTest, CutsWhatIsTooLong) {
    const WireBytes text(std::string(40, 'x'));
    EXPECT_EQ(text.str(), std::string(31, 'x'));
    EXPECT_STREQ(text.c_str(), std::string(31, 'x').c_str());
}

TEST(WireTextTest, EndsAtTheNulOfAField) {
    char field[kWireTextLength];
    std::fill(std::begin(field), std::end(field), 'x');
    EXPECT_EQ(WireBytes(field).str(), std::string(31, 'x'));
    field[3] = '\0';
    EXPECT_TRUE(WireBytes(field) == "xxx");
}

}  // namespace
}  // namespace zorvane
