#include "host/reporterror.h"

#include <gtest/gtest.h>

TEST(DescribeError, GivesWindowsTextAndTheCode) {
    const std::wstring text = DescribeError(ERROR_FILE_NOT_FOUND);
    const std::wstring end = L" (2)";
    ASSERT_TRUE(text.ends_with(end)) << text;
    const std::wstring words = text.substr(0, text.size() - end.size());
    ASSERT_FALSE(words.empty());
    EXPECT_NE(words.back(), L'.');
    EXPECT_NE(words.back(), L' ');
    EXPECT_EQ(words.find(L'\n'), std::wstring::npos);
}

TEST(DescribeError, GivesTheCodeAloneWhenWindowsHasNoText) {
    EXPECT_EQ(DescribeError(0x2BADC0DE), L"(732807390)");
}
