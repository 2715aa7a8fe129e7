#include "monitor/options/values.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

TEST(ValuesTest, ReadsWholeNumbersFromOne) {
    EXPECT_EQ(ParseCount("1"), 1u);
    EXPECT_EQ(ParseCount("007"), 7u);
    EXPECT_EQ(ParseCount("999999999999999999"), 999999999999999999u);
    for (const char* text : {"", "0", "000", "-1", "+1", "1.5", "1e3", " 1", "1 ", "0x10",
                             "1000000000000000000", "99999999999999999999"}) {
        EXPECT_FALSE(ParseCount(text)) << text;
    }
}

TEST(ValuesTest, ReadsPositiveNumbers) {
    EXPECT_EQ(ParsePositive("1.5", 10), 1.5);
    EXPECT_EQ(ParsePositive("1e1", 10), 10.0);
    for (const char* text : {"", "0", "-1", "10.1", "nan", "inf", "1,5", "x", "1.5s", " 1"}) {
        EXPECT_FALSE(ParsePositive(text, 10)) << text;
    }
}

TEST(ValuesTest, NeverRoundsSecondsDownToNothing) {
    EXPECT_EQ(ParseSeconds("0.0001"), std::chrono::milliseconds(1));
    EXPECT_EQ(ParseSeconds("1.5"), std::chrono::milliseconds(1500));
    EXPECT_FALSE(ParseSeconds("1e10"));
}

TEST(ValuesTest, FindsWhatWasProbablyMeant) {
    const std::vector<std::string> known = {"watch", "record", "skip_delete"};
    EXPECT_EQ(Nearest("skip_delte", known), "skip_delete");
    EXPECT_EQ(Nearest("RECROD", known), "record");
    EXPECT_EQ(Nearest("watch", known), "watch");
    EXPECT_EQ(Nearest("jsno", {"json"}), "json");
    EXPECT_FALSE(Nearest("hello", known));
    EXPECT_FALSE(Nearest("", known));
    EXPECT_FALSE(Nearest(std::string(100000, 'a'), known));
    EXPECT_EQ(DidYouMean("watsch", known), " Did you mean watch?");
    EXPECT_EQ(DidYouMean("hello", known), "");
}

TEST(ValuesTest, ListsNames) {
    EXPECT_EQ(Listed({"a"}), "a");
    EXPECT_EQ(Listed({"a", "b"}), "a or b");
    EXPECT_EQ(Listed({"a", "b", "c"}), "a, b or c");
}

}  // namespace
}  // namespace zorvane
