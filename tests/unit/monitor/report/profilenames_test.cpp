#include "monitor/report/profilenames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace zorvane {
namespace {

TEST(ProfileNames, AreTheFoldersOfUsersInPaths) {
    EXPECT_THAT(ProfileNamesIn("C:\\Users\\Ann Lee\\a.log and d:/users/J\xC3\xB6rg/b.log"),
                ElementsAre("Ann Lee", "J\xC3\xB6rg"));
    EXPECT_THAT(ProfileNamesIn("C:\\Users\\ANNLEE~1\\AppData"), ElementsAre("ANNLEE~1"));
    EXPECT_THAT(ProfileNamesIn("in C:\\USERS\\ann"), ElementsAre("ann"));
}

TEST(ProfileNames, AreNoSharedFoldersAndNoOtherTexts) {
    EXPECT_THAT(ProfileNamesIn("C:\\Users\\Public\\x, C:\\Users\\default\\x"), IsEmpty());
    EXPECT_THAT(ProfileNamesIn("C:\\Users\\"), IsEmpty());
    EXPECT_THAT(ProfileNamesIn("C:\\Users\\\\x"), IsEmpty());
    EXPECT_THAT(ProfileNamesIn("C:\\Zorvane\\Users\\x"), IsEmpty());
    EXPECT_THAT(ProfileNamesIn("\"C:\\Users\\ann\" and more"), IsEmpty());
    EXPECT_THAT(ProfileNamesIn(""), IsEmpty());
}

}  // namespace
}  // namespace zorvane
