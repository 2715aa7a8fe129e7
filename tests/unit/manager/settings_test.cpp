#include "src/settings.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/importpatch.h"
#include "tests/unit/manager/executablefolder.h"

namespace {

using testing::Each;
using testing::SizeIs;

struct FileContent {
    const char* description;
    const char* bytes;
    bool isOn;
};

constexpr FileContent kContents[] = {
    {"an empty file", "", true},
    {"another section", "[gpu_kernel]\r\nsdk_flag=0\r\n", true},
    {"another key", "[cpu_kernel]\r\nother=0\r\n", true},
    {"0", "[cpu_kernel]\r\nsdk_flag=0\r\n", false},
    {"1", "[cpu_kernel]\r\nsdk_flag=1\r\n", true},
    {"2", "[cpu_kernel]\r\nsdk_flag=2\r\n", true},
    {"a negative number", "[cpu_kernel]\r\nsdk_flag=-1\r\n", true},
    {"0 among others", "[a]\r\nx=1\r\n[cpu_kernel]\r\ny=1\r\nsdk_flag=0\r\n", false},
    {"0 with other letter cases", "[CPU_Kernel]\r\nSDK_FLAG = 0\r\n", false},
};

}  // namespace

TEST(Settings, SwitchTheAmdTaskOnWithoutAFile) {
    const CExecutableFolder folder;
    EXPECT_TRUE(IsAmdTaskSwitchedOn());
    EXPECT_EQ(GetFileAttributesW(folder.SettingsPath().c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST(Settings, SwitchTheAmdTaskOffOnlyWithTheValueZeroOfTheKeyInItsSection) {
    for (const FileContent& content : kContents) {
        const CExecutableFolder folder;
        WriteFileBytes(folder.SettingsPath(), content.bytes);
        EXPECT_EQ(IsAmdTaskSwitchedOn(), content.isOn) << content.description;
    }
}

TEST(Settings, AskForTheKeyWithADefaultOfOneInTheFileBesideTheExecutable) {
    const CExecutableFolder folder;
    std::vector<std::wstring> calls;
    PATCH_IMPORT(patch, GetPrivateProfileIntW,
                 [&](const wchar_t* section, const wchar_t* key, INT value, const wchar_t* path) {
                     calls.push_back(std::wstring(section) + L"|" + key + L"|" +
                                     std::to_wstring(value) + L"|" + path);
                     return UINT{0};
                 });
    EXPECT_FALSE(IsAmdTaskSwitchedOn());
    EXPECT_THAT(calls, testing::ElementsAre(L"cpu_kernel|sdk_flag|1|" + folder.SettingsPath()));
}

TEST(Settings, WriteTheTextZeroUnderTheKeyIntoTheFileBesideTheExecutable) {
    const CExecutableFolder folder;
    std::vector<std::wstring> calls;
    PATCH_IMPORT(
        patch, WritePrivateProfileStringW,
        [&](const wchar_t* section, const wchar_t* key, const wchar_t* value, const wchar_t* path) {
            calls.push_back(std::wstring(section) + L"|" + key + L"|" + value + L"|" + path);
            return FALSE;
        });
    SwitchAmdTaskOff();
    EXPECT_THAT(calls, testing::ElementsAre(L"cpu_kernel|sdk_flag|0|" + folder.SettingsPath()));
    EXPECT_TRUE(IsAmdTaskSwitchedOn()) << "a write that fails changes nothing";
}

TEST(Settings, MakeTheFileWhenThereIsNoneAndReadTheSwitchAsOffFromThenOn) {
    const CExecutableFolder folder;
    SwitchAmdTaskOff();
    EXPECT_FALSE(IsAmdTaskSwitchedOn());
    EXPECT_EQ(ReadFileBytes(folder.SettingsPath()), "[cpu_kernel]\r\nsdk_flag=0\r\n");
}

TEST(Settings, KeepWhatOtherProgramsHaveInTheFile) {
    const CExecutableFolder folder;
    WriteFileBytes(folder.SettingsPath(),
                   "[ui]\r\nlanguage=de\r\n[cpu_kernel]\r\nsdk_flag=1\r\nother=7\r\n");
    SwitchAmdTaskOff();
    const std::wstring path = folder.SettingsPath();
    wchar_t language[8] = {};
    GetPrivateProfileStringW(L"ui", L"language", L"", language, 8, path.c_str());
    EXPECT_STREQ(language, L"de");
    EXPECT_EQ(GetPrivateProfileIntW(L"cpu_kernel", L"other", 0, path.c_str()), 7u);
    EXPECT_EQ(GetPrivateProfileIntW(L"cpu_kernel", L"sdk_flag", 1, path.c_str()), 0u);
}

TEST(Settings, FindTheExecutableAnewEachTimeInAZeroedBufferOf260Characters) {
    CExecutableFolder folder;
    const CTempFolder other;
    SwitchAmdTaskOff();
    folder.executable = other.PathOf(L"another host.exe");
    EXPECT_TRUE(IsAmdTaskSwitchedOn());
    SwitchAmdTaskOff();
    EXPECT_NE(ReadFileBytes(other.PathOf(L"Qorvella.set")), "");
    EXPECT_THAT(folder.questions, SizeIs(3));
    EXPECT_THAT(folder.questions, Each(260));
}
