#include "src/settings.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fakeexecutable.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"

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

class Settings : public testing::Test {
  protected:
    CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"Qorvella.set");
    CFakeExecutable m_executable{m_folder.PathOf(L"host.exe")};
};

}  // namespace

TEST_F(Settings, SwitchTheAmdTaskOnWithoutAFile) {
    EXPECT_TRUE(IsAmdTaskSwitchedOn());
    EXPECT_EQ(GetFileAttributesW(m_path.c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(Settings, SwitchTheAmdTaskOffOnlyWithTheValueZeroOfTheKeyInItsSection) {
    for (const FileContent& content : kContents) {
        // Not one file that changes: what is read may be cached by its time.
        const CTempFolder folder;
        m_executable.path = folder.PathOf(L"host.exe");
        WriteFileBytes(folder.PathOf(L"Qorvella.set"), content.bytes);
        EXPECT_EQ(IsAmdTaskSwitchedOn(), content.isOn) << content.description;
    }
}

TEST_F(Settings, AskForTheKeyWithADefaultOfOneInTheFileBesideTheExecutable) {
    std::vector<std::wstring> calls;
    PATCH_IMPORT(patch, GetPrivateProfileIntW,
                 [&](const wchar_t* section, const wchar_t* key, INT value, const wchar_t* path) {
                     calls.push_back(std::wstring(section) + L"|" + key + L"|" +
                                     std::to_wstring(value) + L"|" + path);
                     return UINT{0};
                 });
    EXPECT_FALSE(IsAmdTaskSwitchedOn());
    EXPECT_THAT(calls, testing::ElementsAre(L"cpu_kernel|sdk_flag|1|" + m_path));
}

TEST_F(Settings, WriteTheTextZeroUnderTheKeyIntoTheFileBesideTheExecutable) {
    std::vector<std::wstring> calls;
    PATCH_IMPORT(
        patch, WritePrivateProfileStringW,
        [&](const wchar_t* section, const wchar_t* key, const wchar_t* value, const wchar_t* path) {
            calls.push_back(std::wstring(section) + L"|" + key + L"|" + value + L"|" + path);
            return FALSE;
        });
    SwitchAmdTaskOff();
    EXPECT_THAT(calls, testing::ElementsAre(L"cpu_kernel|sdk_flag|0|" + m_path));
    EXPECT_TRUE(IsAmdTaskSwitchedOn()) << "a write that fails changes nothing";
}

TEST_F(Settings, MakeTheFileWhenThereIsNoneAndReadTheSwitchAsOffFromThenOn) {
    SwitchAmdTaskOff();
    EXPECT_FALSE(IsAmdTaskSwitchedOn());
    EXPECT_EQ(ReadFileBytes(m_path), "[cpu_kernel]\r\nsdk_flag=0\r\n");
}

TEST_F(Settings, KeepWhatOtherProgramsHaveInTheFile) {
    WriteFileBytes(m_path, "[ui]\r\nlanguage=de\r\n[cpu_kernel]\r\nsdk_flag=1\r\nother=7\r\n");
    SwitchAmdTaskOff();
    wchar_t language[8] = {};
    GetPrivateProfileStringW(L"ui", L"language", L"", language, 8, m_path.c_str());
    EXPECT_STREQ(language, L"de");
    EXPECT_EQ(GetPrivateProfileIntW(L"cpu_kernel", L"other", 0, m_path.c_str()), 7u);
    EXPECT_EQ(GetPrivateProfileIntW(L"cpu_kernel", L"sdk_flag", 1, m_path.c_str()), 0u);
}

TEST_F(Settings, FindTheExecutableAnewEachTimeInAZeroedBufferOf260Characters) {
    const CTempFolder other;
    SwitchAmdTaskOff();
    m_executable.path = other.PathOf(L"another host.exe");
    EXPECT_TRUE(IsAmdTaskSwitchedOn());
    SwitchAmdTaskOff();
    EXPECT_NE(ReadFileBytes(other.PathOf(L"Qorvella.set")), "");
    EXPECT_THAT(m_executable.questions, SizeIs(3));
    EXPECT_THAT(m_executable.questions, Each(260));
}
