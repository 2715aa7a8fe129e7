#include "host/keptcpuswitch.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "base/text.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"

namespace {

constexpr CurableCauses kNoAdministrator{.standIn = false, .noAdministrator = true};
constexpr CurableCauses kStandIn{.standIn = true, .noAdministrator = false};
constexpr CurableCauses kNone{};

// The settings file of a test, through a run that switches the CPU temperature off.
class KeptCpuSwitch : public testing::Test {
  protected:
    void RunThatSwitchesOff(const CurableCauses& causes) const {
        const CKeptCpuSwitch kept(causes, Switch());
        EXPECT_FALSE(Switch().Set(L"0"));
        kept.PutBack();
        kept.PutBack();
    }

    zorvane::CCpuSwitch Switch() const { return zorvane::CCpuSwitch(m_folder.Path() + L"\\"); }
    std::wstring Path() const { return Switch().Path(); }
    void Write(const std::string& text) const { WriteFileBytes(Path(), text); }
    std::string Text() const { return ReadFileBytes(Path()); }

  private:
    const CTempFolder m_folder;
};

}  // namespace

TEST_F(KeptCpuSwitch, LeavesNoFileWhereThereWasNone) {
    for (const CurableCauses& causes : {kNoAdministrator, kStandIn}) {
        RunThatSwitchesOff(causes);
        EXPECT_FALSE(std::filesystem::exists(Path())) << Text();
    }
}

TEST_F(KeptCpuSwitch, LeavesAnEmptyFileWhereItWas) {
    Write("");
    RunThatSwitchesOff(kNoAdministrator);
    EXPECT_TRUE(std::filesystem::exists(Path()));
    EXPECT_TRUE(Switch().IsOn());
    EXPECT_FALSE(Switch().HasSection());
}

TEST_F(KeptCpuSwitch, GivesTheKeyItsOldValueAndLeavesOthersAlone) {
    const std::string text = "[ui]\r\nlanguage=de\r\n[cpu_kernel]\r\nother=5\r\nsdk_flag=2\r\n";
    Write(text);
    RunThatSwitchesOff(kNoAdministrator);
    EXPECT_EQ(Text(), text);
}

TEST_F(KeptCpuSwitch, RemovesTheKeyWhereThereWasNone) {
    Write("[cpu_kernel]\r\nother=5\r\n");
    RunThatSwitchesOff(kStandIn);
    EXPECT_EQ(Switch().Value(), std::nullopt);
    EXPECT_NE(Text().find("other=5"), std::string::npos) << Text();
}

TEST_F(KeptCpuSwitch, KeepsWhatAnotherProgramWritesMeanwhile) {
    const CKeptCpuSwitch kept(kNoAdministrator, Switch());
    Write("[cpu_kernel]\r\nsdk_flag=0\r\nother=5\r\n[ui]\r\nlanguage=de\r\n");
    kept.PutBack();
    EXPECT_TRUE(Switch().IsOn());
    EXPECT_NE(Text().find("other=5"), std::string::npos) << Text();
    EXPECT_NE(Text().find("language=de"), std::string::npos) << Text();
}

TEST_F(KeptCpuSwitch, StaysOffWhenTheRunCouldHaveWorked) {
    RunThatSwitchesOff(kNone);
    EXPECT_FALSE(Switch().IsOn());
}

TEST_F(KeptCpuSwitch, StaysOffWhenItWasOffBefore) {
    Write("[cpu_kernel]\r\nsdk_flag=0\r\n");
    RunThatSwitchesOff(kNoAdministrator);
    EXPECT_FALSE(Switch().IsOn());
}

TEST_F(KeptCpuSwitch, LeavesTheFileAloneThatItCannotWrite) {
    const CKeptCpuSwitch kept(kNoAdministrator, Switch());
    EXPECT_FALSE(Switch().Set(L"0"));
    const std::string before = Text();
    PATCH_IMPORT(write, WritePrivateProfileStringW, [](auto...) -> WINBOOL {
        SetLastError(ERROR_WRITE_PROTECT);
        return FALSE;
    });
    std::wstring told;
    PATCH_IMPORT(tell, WriteFile,
                 [&](HANDLE, const void* bytes, DWORD size, LPDWORD written, auto) -> WINBOOL {
                     told = zorvane::ToWide({static_cast<const char*>(bytes), size});
                     *written = size;
                     return TRUE;
                 });
    kept.PutBack();
    EXPECT_EQ(Text(), before);
    EXPECT_NE(told.find(L"the CPU temperature stays switched off in " + Path() +
                        L": WritePrivateProfileStringW: "),
              std::wstring::npos)
        << zorvane::ToUtf8(told);
}

TEST_F(KeptCpuSwitch, SaysWhyThereIsNoCpuTemperature) {
    const std::wstring start = L"no CPU temperature in this run: ";
    EXPECT_EQ(CKeptCpuSwitch(kNone, Switch()).Note(), L"");
    EXPECT_EQ(CKeptCpuSwitch(kNoAdministrator, Switch()).Note(),
              start + L"the worker has no administrator rights");
    EXPECT_EQ(CKeptCpuSwitch(kStandIn, Switch()).Note(),
              start + L"the stand-in is used in place of AMD's Platform.dll");
    EXPECT_EQ(CKeptCpuSwitch({true, true}, Switch()).Note(),
              start +
                  L"the stand-in is used in place of AMD's Platform.dll, and the worker has no "
                  L"administrator rights");
}

TEST_F(KeptCpuSwitch, DoesNotBlameMissingRightsWhileSwitchedOff) {
    Write("[cpu_kernel]\r\nsdk_flag=0\r\n");
    EXPECT_EQ(CKeptCpuSwitch(kNoAdministrator, Switch()).Note(), L"");
}
