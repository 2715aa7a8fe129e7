#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "src/nvmlinfo/nvmlinfotask.h"
#include "tests/support/fakenvml.h"
#include "tests/support/importpatch.h"

TEST(NvmlInfoTaskArchitecture, IsNotSupportedOnA32BitSystemWhateverFilesThereAre) {
    CFakeNvml library;
    // Without this function a system counts as 32-bit.
    PATCH_IMPORT(patch, GetProcAddress, [&](HMODULE module, const char* name) -> FARPROC {
        return std::string(name) == "GetNativeSystemInfo" ? nullptr : patch.Original(module, name);
    });
    EXPECT_EQ(CNvmlInfoTask().IsSupported(), 0);
    EXPECT_THAT(library.windowsCalls, testing::IsEmpty());
}
