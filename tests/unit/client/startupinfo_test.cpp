#include "client/startupinfo.h"

#include <gtest/gtest.h>

#include "tests/support/importpatch.h"

namespace zorvane {
namespace {

TEST(StartupInfoTest, HandsOnStandardErrorAndNothingElse) {
    CStartupInfo info;
    ASSERT_FALSE(info.Prepare());
    ASSERT_TRUE(info.Inherits());
    EXPECT_EQ(info.Get()->hStdInput, nullptr);
    EXPECT_EQ(info.Get()->hStdOutput, nullptr);
    DWORD flags = 0;
    ASSERT_TRUE(GetHandleInformation(info.Get()->hStdError, &flags));
    EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, static_cast<DWORD>(HANDLE_FLAG_INHERIT));
}

TEST(StartupInfoTest, InheritsNothingWhenThereIsNoStandardError) {
    PATCH_IMPORT(noError, GetStdHandle, [](DWORD) -> HANDLE { return nullptr; });
    CStartupInfo info;
    ASSERT_FALSE(info.Prepare());
    EXPECT_FALSE(info.Inherits());
    EXPECT_EQ(info.Get()->hStdError, nullptr);
}

TEST(StartupInfoTest, DeletesItsAttributesOnce) {
    int deleted = 0;
    PATCH_IMPORT(deleting, DeleteProcThreadAttributeList, [&](LPPROC_THREAD_ATTRIBUTE_LIST list) {
        ++deleted;
        deleting.Original(list);
    });
    { const CStartupInfo unprepared; }
    EXPECT_EQ(deleted, 0);
    {
        CStartupInfo info;
        ASSERT_FALSE(info.Prepare());
    }
    EXPECT_EQ(deleted, 1);
}

TEST(StartupInfoTest, NamesTheCallThatFails) {
    PATCH_IMPORT(failing, UpdateProcThreadAttribute,
                 [](LPPROC_THREAD_ATTRIBUTE_LIST, DWORD, DWORD_PTR, PVOID, SIZE_T, PVOID,
                    PSIZE_T) -> WINBOOL {
                     SetLastError(ERROR_NOT_SUPPORTED);
                     return FALSE;
                 });
    CStartupInfo info;
    const auto error = info.Prepare();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->call, "UpdateProcThreadAttribute");
    EXPECT_EQ(error->code, static_cast<DWORD>(ERROR_NOT_SUPPORTED));
}

TEST(StartupInfoTest, NamesTheCallThatMakesNoList) {
    PATCH_IMPORT(
        failing, InitializeProcThreadAttributeList,
        [&](LPPROC_THREAD_ATTRIBUTE_LIST list, DWORD count, DWORD flags, PSIZE_T size) -> WINBOOL {
            if (!list) {
                return failing.Original(list, count, flags, size);
            }
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return FALSE;
        });
    bool isDeleted = false;
    PATCH_IMPORT(deletion, DeleteProcThreadAttributeList, [&](auto) { isDeleted = true; });
    {
        CStartupInfo info;
        const auto error = info.Prepare();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->call, "InitializeProcThreadAttributeList");
        EXPECT_EQ(error->code, static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
    }
    EXPECT_FALSE(isDeleted) << "there was no list";
}

}  // namespace
}  // namespace zorvane
