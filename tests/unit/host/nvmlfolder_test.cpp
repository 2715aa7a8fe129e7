#include "host/nvmlfolder.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <optional>
#include <string>

#include "tests/support/importpatch.h"

namespace {

class NvmlFolder : public testing::Test {
  protected:
    ~NvmlFolder() override { SetEnvironmentVariableW(kProgramsVariable, nullptr); }

    std::optional<std::wstring> m_added;

  private:
    PATCH_IMPORT(m_add, AddDllDirectory, [this](PCWSTR folder) -> DLL_DIRECTORY_COOKIE {
        m_added = folder;
        return nullptr;
    });
};

}  // namespace

TEST_F(NvmlFolder, LiesBelowTheFolderOfPrograms) {
    SetEnvironmentVariableW(kProgramsVariable, L"D:\\Programs");
    EXPECT_EQ(NvmlPath(), L"D:\\Programs\\NVIDIA Corporation\\NVSMI\\Nvml.dll");
    AddNvmlFolder();
    EXPECT_EQ(m_added, L"D:\\Programs\\NVIDIA Corporation\\NVSMI");
}

TEST_F(NvmlFolder, IsNowhereWithoutThatFolder) {
    SetEnvironmentVariableW(kProgramsVariable, nullptr);
    EXPECT_EQ(NvmlPath(), L"") << "not a path on the current drive";
    AddNvmlFolder();
    EXPECT_EQ(m_added, std::nullopt);
}
