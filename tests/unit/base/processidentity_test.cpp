#include "base/processidentity.h"

#include <gtest/gtest.h>

#include "tests/support/importpatch.h"

namespace zorvane {
namespace {

TEST(ProcessIdentityTest, IsReadBackFromItsText) {
    const ProcessIdentity own = OwnIdentity();
    EXPECT_EQ(own.id, GetCurrentProcessId());
    EXPECT_NE(own.creationTime, 0u);
    const auto read = ParseIdentity(IdentityText(own));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->id, own.id);
    EXPECT_EQ(read->creationTime, own.creationTime);
}

TEST(ProcessIdentityTest, IsNotReadFromOtherTexts) {
    EXPECT_TRUE(ParseIdentity(L"4294967295:18446744073709551615"));
    for (const wchar_t* text : {L"", L":", L"1", L"1:", L":1", L"-1:1", L"1:+1", L" 1:1", L"1:1 ",
                                L"0x1:1", L"4294967296:1", L"1:18446744073709551616", L"1:2:3"}) {
        EXPECT_FALSE(ParseIdentity(text)) << text;
    }
}

TEST(ProcessIdentityTest, FindsARunningProcess) {
    const FoundProcess found = FindProcess(OwnIdentity());
    ASSERT_TRUE(found.handle);
    EXPECT_FALSE(found.error);
    EXPECT_EQ(WaitForSingleObject(found.handle.get(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
}

TEST(ProcessIdentityTest, DoesNotTakeALaterProcessOfTheSameIdForTheOneNamed) {
    ProcessIdentity earlier = OwnIdentity();
    --earlier.creationTime;
    const FoundProcess found = FindProcess(earlier);
    EXPECT_FALSE(found.handle);
    EXPECT_FALSE(found.error);
}

TEST(ProcessIdentityTest, FindsNothingUnderAnIdThatNoProcessHas) {
    const FoundProcess found = FindProcess({0xFFFFFFF0, 1});
    EXPECT_FALSE(found.handle);
    EXPECT_FALSE(found.error) << found.error->code;
}

TEST(ProcessIdentityTest, SaysWhyAProcessCannotBeOpened) {
    PATCH_IMPORT(open, OpenProcess, [](DWORD, WINBOOL, DWORD) -> HANDLE {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    });
    const FoundProcess found = FindProcess(OwnIdentity());
    EXPECT_FALSE(found.handle);
    ASSERT_TRUE(found.error);
    EXPECT_EQ(found.error->call, "OpenProcess");
    EXPECT_EQ(found.error->code, static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

}  // namespace
}  // namespace zorvane
