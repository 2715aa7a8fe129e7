#include <gmock/gmock.h>

#include "base/cpuswitch.h"
#include "base/text.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/monitor/commands/monitorprocess.h"
#include "tests/unit/monitor/commands/runcommand.h"

namespace zorvane {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class ResetProcessTest : public MonitorProcessTest {
  protected:
    // Resets the switch beside a host in the test's folder; the host itself need not be there.
    std::optional<DWORD> Reset() {
        StartPlain(L"reset --host \"" + m_folder.PathOf(L"host.exe") + L"\"");
        return m_monitor->Wait(kTimeoutMs);
    }

    CCpuSwitch Switch() const { return CCpuSwitch(m_folder.Path() + L"\\"); }
    void Write(const std::string& text) const { WriteFileBytes(Switch().Path(), text); }
    std::string Text() const { return ReadFileBytes(Switch().Path()); }

    CTempFolder m_folder;
};

TEST_F(ResetProcessTest, SwitchesTheCpuTemperatureOnAgain) {
    Write("[ui]\r\nlanguage=de\r\n[cpu_kernel]\r\nsdk_flag=0\r\n");
    EXPECT_EQ(Reset(), kExitDone) << m_monitor->Errors();
    EXPECT_EQ(Text(), "[ui]\r\nlanguage=de\r\n[cpu_kernel]\r\nsdk_flag=1\r\n");
    EXPECT_THAT(m_monitor->Output(), StartsWith("The CPU temperature is switched on again in "));
    EXPECT_THAT(m_monitor->Output(), HasSubstr("\\Qorvella.set"));
    EXPECT_EQ(m_monitor->Errors(), "");
}

TEST_F(ResetProcessTest, ChangesNothingThatIsOnAlready) {
    EXPECT_EQ(Reset(), kExitDone);
    EXPECT_THAT(m_monitor->Output(), HasSubstr("switched on already; nothing was changed"));
    EXPECT_EQ(GetFileAttributesW(Switch().Path().c_str()), INVALID_FILE_ATTRIBUTES);
    Write("[cpu_kernel]\r\nsdk_flag=2\r\n");
    EXPECT_EQ(Reset(), kExitDone);
    EXPECT_EQ(Text(), "[cpu_kernel]\r\nsdk_flag=2\r\n");
}

TEST_F(ResetProcessTest, SaysWhatItTakesToWriteTheFile) {
    const std::string text = "[cpu_kernel]\r\nsdk_flag=0\r\n";
    Write(text);
    const CUniqueHandle reader =
        OwnFile(CreateFileW(Switch().Path().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    EXPECT_EQ(Reset(), kExitOutput);
    EXPECT_THAT(m_monitor->Errors(), StartsWith("zorvanemon: "));
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("\\Qorvella.set cannot be written: CreateFileW: "));
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("(32). Another program has the file open; "));
    EXPECT_EQ(m_monitor->Output(), "");
    EXPECT_EQ(Text(), text);
}

TEST_F(ResetProcessTest, SaysWhoMayWriteAProtectedFileAndNothingOfOtherFailures) {
    Write("[cpu_kernel]\r\nsdk_flag=0\r\n");
    DWORD error = ERROR_ACCESS_DENIED;
    PATCH_IMPORT(denied, CreateFileW, [&](LPCWSTR path, auto... rest) -> HANDLE {
        if (path != Switch().Path()) {
            return denied.Original(path, rest...);
        }
        SetLastError(error);
        return INVALID_HANDLE_VALUE;
    });
    const auto reset = [&] {
        return RunCommand({"reset", "--host", ToUtf8(m_folder.PathOf(L"host.exe"))});
    };
    EXPECT_EQ(reset().exitCode, kExitOutput);
    EXPECT_THAT(reset().errors, HasSubstr("(5). Try again as administrator, and see that"));
    error = ERROR_NETNAME_DELETED;
    EXPECT_EQ(reset().exitCode, kExitOutput);
    EXPECT_THAT(reset().errors, EndsWith("(64)\n"));
}

TEST_F(ResetProcessTest, NamesAFolderThatThereIsNot) {
    StartPlain(L"reset --host C:\\nowhere\\host.exe");
    EXPECT_EQ(m_monitor->Wait(kTimeoutMs), kExitOutput);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("there is no folder C:\\nowhere\\; --host takes"));
    // Without --host it is the folder of zorvanemon's own host.
    EXPECT_THAT(RunCommand({"reset"}).errors, HasSubstr("there is no folder C:\\no such\\;"));
}

TEST_F(ResetProcessTest, TakesNoWords) {
    StartPlain(L"reset now");
    EXPECT_EQ(m_monitor->Wait(kTimeoutMs), kExitUsage);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("\"now\" is one word too many for reset"));
}

}  // namespace
}  // namespace zorvane
