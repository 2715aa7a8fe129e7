#include "base/callerror.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

TEST(CallErrorTest, NamesTheCallTheTextAndTheCode) {
    const std::string text = Describe({"CreateProcessW x.exe", ERROR_ACCESS_DENIED});
    EXPECT_EQ(text.rfind("CreateProcessW x.exe: ", 0), 0u) << text;
    EXPECT_TRUE(text.ends_with(" (5)")) << text;
    EXPECT_GT(text.size(), std::string("CreateProcessW x.exe:  (5)").size());
    EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos);
}

TEST(DescribeCodeTest, HasNoFullStopOrLineEnd) {
    const std::wstring text = DescribeCode(ERROR_FILE_NOT_FOUND);
    const std::wstring end = L" (2)";
    ASSERT_TRUE(text.ends_with(end)) << text;
    const std::wstring words = text.substr(0, text.size() - end.size());
    ASSERT_FALSE(words.empty());
    EXPECT_NE(words.back(), L'.');
    EXPECT_NE(words.back(), L' ');
    EXPECT_EQ(words.find(L'\n'), std::wstring::npos);
}

TEST(CallErrorTest, HasATextForACodeThatTheSystemDoesNotKnow) {
    EXPECT_EQ(Describe({"Call", 0x2FFFFFFF}), "Call: unknown error (805306367)");
}

TEST(CallErrorTest, KeepsTheLastErrorOfTheThread) {
    SetLastError(1234);
    EXPECT_EQ(LastCallError("Call").code, 1234u);
}

}  // namespace
}  // namespace zorvane
