#include "host/junction.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"

TEST(Junction, IsNotMadeToWhatIsNoPath) {
    // The lengths in the request have 16 bits.
    PATCH_IMPORT(control, DeviceIoControl, [](auto...) -> WINBOOL {
        ADD_FAILURE() << "asked for";
        return TRUE;
    });
    const CTempFolder folder;
    const auto error = MakeJunction(folder.Path(), std::wstring(MAX_PATH + 1, L'x'));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, DWORD{ERROR_FILENAME_EXCED_RANGE});
}

TEST(Junction, NamesTheCallThatFails) {
    const CTempFolder folder;
    const auto missing = MakeJunction(folder.PathOf(L"missing"), L"C:\\windows");
    ASSERT_TRUE(missing);
    EXPECT_EQ(missing->call, "CreateFileW");
    EXPECT_EQ(missing->code, DWORD{ERROR_FILE_NOT_FOUND});

    PATCH_IMPORT(control, DeviceIoControl, [](auto...) -> WINBOOL {
        SetLastError(ERROR_INVALID_FUNCTION);
        return FALSE;
    });
    const auto refused = MakeJunction(folder.Path(), L"C:\\windows");
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->call, "DeviceIoControl");
    EXPECT_EQ(refused->code, DWORD{ERROR_INVALID_FUNCTION});
}
