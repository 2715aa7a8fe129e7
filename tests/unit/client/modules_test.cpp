// Several modules of one process, each with a copy of the client library.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>

#include "base/modulepath.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/client/fakeworker.h"

namespace zorvane {
namespace {

class ClientModulesTest : public testing::Test {
  protected:
    void SetUp() override {
        for (const wchar_t* name : {L"first.dll", L"second.dll"}) {
            std::filesystem::copy_file(ModuleFolder(nullptr) + L"clientmodule.dll",
                                       m_folder.PathOf(name));
        }
    }

    HMODULE Load(const wchar_t* name) const { return LoadLibraryW(m_folder.PathOf(name).c_str()); }

    static int Use(HMODULE module) {
        const FARPROC function = GetProcAddress(module, "TakeOnePayload");
        return reinterpret_cast<int (*)()>(reinterpret_cast<void*>(function))();
    }

    static bool HasClass(HMODULE module) {
        WNDCLASSEXW description{};
        description.cbSize = sizeof(description);
        return GetClassInfoExW(module, L"ZorvaneMessageWindow", &description) != FALSE;
    }

    CTempFolder m_folder;
};

TEST_F(ClientModulesTest, ComeAndGoInAnyOrder) {
    HMODULE first = Load(L"first.dll");
    const HMODULE second = Load(L"second.dll");
    ASSERT_NE(first, second);
    EXPECT_EQ(Use(first), 1);
    EXPECT_EQ(Use(second), 1);
    ASSERT_TRUE(FreeLibrary(first));
    EXPECT_EQ(Use(second), 1);
    first = Load(L"first.dll");
    EXPECT_EQ(Use(first), 1);
    ASSERT_TRUE(FreeLibrary(second));
    EXPECT_EQ(Use(first), 1);
    ASSERT_TRUE(FreeLibrary(first));
}

TEST_F(ClientModulesTest, TakeTheirWindowClassWithThem) {
    const HMODULE module = Load(L"first.dll");
    EXPECT_EQ(Use(module), 1);
    EXPECT_TRUE(HasClass(module));
    ASSERT_TRUE(FreeLibrary(module));
    EXPECT_FALSE(HasClass(module));
}

}  // namespace
}  // namespace zorvane
