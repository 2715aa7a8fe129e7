#include "client/callerror.h"

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

TEST(CallErrorTest, HasATextForACodeThatTheSystemDoesNotKnow) {
    EXPECT_EQ(Describe({"Call", 0x2FFFFFFF}), "Call: unknown error (805306367)");
}

TEST(CallErrorTest, KeepsTheLastErrorOfTheThread) {
    SetLastError(1234);
    EXPECT_EQ(LastCallError("Call").code, 1234u);
}

}  // namespace
}  // namespace zorvane
