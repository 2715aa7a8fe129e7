#include "settings.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "support/importpatch.h"
#include "support/tempfolder.h"

namespace {

// Calls from here see the settings file of a folder of their own.
template <typename Call>
auto InFolder(const std::wstring& folder, Call call) {
    PATCH_IMPORT(name, GetModuleFileNameW, [&](HMODULE module, wchar_t* buffer, DWORD size) {
        EXPECT_EQ(module, nullptr) << "the executable's folder, not the library's";
        const std::wstring executable = folder + L"\\host.exe";
        EXPECT_LT(executable.size(), size);
        executable.copy(buffer, size);
        return static_cast<DWORD>(executable.size());
    });
    return call();
}

class SettingsFile : public testing::Test {
  protected:
    void Write(const std::string& text) { WriteFileBytes(Path(), text); }
    std::wstring Path() const { return m_folder.PathOf(L"Qorvella.set"); }
    bool IsOn() { return InFolder(m_folder.Path(), IsAmdTaskSwitchedOn); }
    void SwitchOff() { InFolder(m_folder.Path(), SwitchAmdTaskOff); }

  private:
    CTempFolder m_folder;
};

}  // namespace

TEST_F(SettingsFile, SwitchesOnWhenItIsMissing) { EXPECT_TRUE(IsOn()); }

TEST_F(SettingsFile, SwitchesOnWhenTheSectionOrTheKeyIsMissing) {
    Write("[other]\r\nsdk_flag=0\r\n");
    EXPECT_TRUE(IsOn());
    Write("[cpu_kernel]\r\nother=0\r\n");
    EXPECT_TRUE(IsOn());
}

TEST_F(SettingsFile, SwitchesOffOnlyWithZero) {
    struct {
        const char* value;
        bool on;
    } const rows[] = {{"0", false}, {"1", true}, {"2", true}, {"-1", true}, {"x", false}};
    for (const auto& row : rows) {
        Write(std::string("[cpu_kernel]\r\nsdk_flag=") + row.value + "\r\n");
        EXPECT_EQ(IsOn(), row.on) << row.value;
    }
}

TEST_F(SettingsFile, IsMadeBySwitchingOff) {
    SwitchOff();
    wchar_t value[16] = {};
    GetPrivateProfileStringW(L"cpu_kernel", L"sdk_flag", L"none", value, ARRAYSIZE(value),
                             Path().c_str());
    EXPECT_STREQ(value, L"0");
    EXPECT_FALSE(IsOn());
}

TEST_F(SettingsFile, KeepsWhatBelongsToOthersWhenSwitchingOff) {
    Write("[cpu_kernel]\r\nother=7\r\nsdk_flag=1\r\n[screen]\r\nwidth=9\r\n");
    SwitchOff();
    EXPECT_FALSE(IsOn());
    EXPECT_EQ(GetPrivateProfileIntW(L"cpu_kernel", L"other", 0, Path().c_str()), 7u);
    EXPECT_EQ(GetPrivateProfileIntW(L"screen", L"width", 0, Path().c_str()), 9u);
}

TEST_F(SettingsFile, StaysOnWhenItCannotBeWritten) {
    PATCH_IMPORT(write, WritePrivateProfileStringW,
                 [](const wchar_t* section, const wchar_t* key, const wchar_t* value,
                    const wchar_t*) -> BOOL {
                     EXPECT_STREQ(section, L"cpu_kernel");
                     EXPECT_STREQ(key, L"sdk_flag");
                     EXPECT_STREQ(value, L"0");
                     return FALSE;
                 });
    SwitchOff();
    EXPECT_TRUE(IsOn());
}

TEST_F(SettingsFile, IsReadWithADefaultOfOne) {
    PATCH_IMPORT(
        read, GetPrivateProfileIntW,
        [&](const wchar_t* section, const wchar_t* key, INT fallback, const wchar_t* path) -> UINT {
            EXPECT_STREQ(section, L"cpu_kernel");
            EXPECT_STREQ(key, L"sdk_flag");
            EXPECT_EQ(fallback, 1);
            EXPECT_EQ(path, Path());
            return 0;
        });
    EXPECT_FALSE(IsOn());
}
