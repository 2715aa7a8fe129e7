// Commands whose answer cannot be written.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/text.h"
#include "monitor/outcome.h"
#include "tests/support/importpatch.h"
#include "tests/unit/monitor/commands/runcommand.h"

namespace zorvane {
namespace {

using testing::StartsWith;

class LostAnswerTest : public testing::Test {
  protected:
    std::string InFolder(const wchar_t* name) const { return ToUtf8(m_folder.PathOf(name)); }

    CTempFolder m_folder;
};

TEST_F(LostAnswerTest, OfDoctorHasItsExitCodeAndIsSaid) {
    const auto result = RunCommand({"doctor", "--only", "cpu.rights"}, kUnwritable);
    EXPECT_EQ(result.exitCode, kExitOutput);
    EXPECT_THAT(result.errors, StartsWith("zorvanemon: WriteFile: "));
}

TEST_F(LostAnswerTest, OfDoctorDoesNotKeepItFromItsReport) {
    const std::string report = InFolder(L"doctor.html");
    const auto result = RunCommand({"doctor", "--report", report}, kUnwritable);
    EXPECT_EQ(result.exitCode, kExitOutput);
    EXPECT_THAT(ReadFileBytes(m_folder.PathOf(L"doctor.html")), StartsWith("<!DOCTYPE html>"));
}

TEST_F(LostAnswerTest, OfResetHasItsExitCodeAndTheSwitchIsSetAllTheSame) {
    const std::wstring settings = m_folder.PathOf(L"Qorvella.set");
    WriteFileBytes(settings, "[cpu_kernel]\r\nsdk_flag=0\r\n");
    const auto result = RunCommand({"reset", "--host", InFolder(L"host.exe")}, kUnwritable);
    EXPECT_EQ(result.exitCode, kExitOutput);
    EXPECT_THAT(result.errors, StartsWith("zorvanemon: WriteFile: "));
    EXPECT_EQ(ReadFileBytes(settings), "[cpu_kernel]\r\nsdk_flag=1\r\n");
}

TEST_F(LostAnswerTest, IsNoneWhenTheReaderHasGone) {
    PATCH_IMPORT(write, WriteFile, [](auto...) -> WINBOOL {
        SetLastError(ERROR_NO_DATA);
        return FALSE;
    });
    EXPECT_EQ(RunCommand({"doctor", "--only", "cpu.windows"}).exitCode, kExitDone);
}

}  // namespace
}  // namespace zorvane
