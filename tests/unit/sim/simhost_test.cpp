#include <gmock/gmock.h>

#include <cstring>

#include "host/hostexit.h"
#include "tests/support/childprocess.h"
#include "tests/support/driverservice.h"
#include "tests/support/records.h"
#include "tests/unit/sim/simfixture.h"
#include "zorvane/wire.h"

namespace {

// The machine is a copy in the test's own folder, laid out as the build does: the worker leaves
// settings beside its host, which would outlast the test.
class CSimHostTest : public CSimTest {
  protected:
    CSimHostTest() {
        std::filesystem::create_directory(MachineFolder());
        for (const char* name :
             {"zorvanesimhost.exe", "Platform.dll", "AMDRyzenMasterDriver.sys"}) {
            std::filesystem::copy_file(SimFolder() / name, MachineFolder() / name);
        }
        std::filesystem::create_directory(Library().parent_path());
        std::filesystem::copy_file(SimFolder().parent_path() / "bin" / "Zorvane.dll", Library());
    }

    CChildProcess Start(const std::wstring& words) const {
        return {(MachineFolder() / "zorvanesimhost.exe").native(),
                words,
                {{L"ProgramW6432", (SimFolder() / "ProgramFiles").native()}}};
    }

    std::filesystem::path MachineFolder() const { return Folder() / "sim"; }
    std::filesystem::path Library() const { return Folder() / "bin" / "Zorvane.dll"; }
};

TEST_F(CSimHostTest, WholeMachineReportsGpusAndCpuTemperatureFromTheUnmodifiedLibrary) {
    if (!IsWine()) {
        GTEST_SKIP() << "no test installs a driver on real Windows";
    }
    RemoveDriverService();
    std::filesystem::copy_file(SimFolder() / "scenarios" / "old-ryzen.json", ScenarioFile());
    CRecordingStub stub;
    const CChildProcess host = Start(stub.WindowWord() + L" --entry=sim");
    EXPECT_TRUE(stub.WaitForMessages(kCopyDataStop, 2)) << host.Errors();
    stub.SendToWorker(kCopyDataStop);
    EXPECT_EQ(host.Wait(), 0u) << host.Errors();

    const std::vector<std::string> texts = CpuTexts(stub.Messages());
    ASSERT_GE(texts.size(), 2u);
    EXPECT_STREQ(texts[0].c_str(), "{\"CpuTemp\":45}");
    EXPECT_STREQ(texts[1].c_str(), "{\"CpuTemp\":46}");
    const std::vector<NvmlGpuRecord> records = GpuRecords(stub.Messages());
    ASSERT_GE(records.size(), 2u);
    EXPECT_EQ(records[0].kind, static_cast<uint32_t>(kGpuRecordStatic));
    EXPECT_STREQ(records[0].name, L"NVIDIA GeForce GTX 1660");
    EXPECT_EQ(records[1].fanSpeedPercent, 38u);
    EXPECT_FALSE(std::filesystem::exists(MachineFolder() / "Qorvella.set"));
    EXPECT_EQ(ServiceState(), std::nullopt);
}

TEST_F(CSimHostTest, HelpAndBadWordsAreThoseOfTheHostAndNeedNoScenario) {
    EXPECT_EQ(Start(L"--help").Wait(), 0u);
    const CChildProcess host = Start(L"--parent=x");
    EXPECT_EQ(host.Wait(), static_cast<DWORD>(HostExit::kBadWord));
    EXPECT_THAT(host.Errors(), testing::StartsWith("zorvanesimhost: "));
}

TEST_F(CSimHostTest, BadScenarioIsOneLineAndExitCodeSix) {
    SetScenario(R"({"cpu": {"signature": "Zen"}})");
    const CChildProcess host = Start(L"--wnd=0");
    EXPECT_EQ(host.Wait(), 6u);
    EXPECT_THAT(host.Errors(), testing::MatchesRegex(
                                   "zorvanesimhost: scenario .*test.json: /cpu/signature: .*\r\n"));
}

TEST_F(CSimHostTest, LibraryOfAnotherBuildIsRefusedWithExitCodeSeven) {
    SetScenario(R"({"cpu": {}})");
    std::string bytes = ReadFileBytes(Library());
    IMAGE_DOS_HEADER dos;
    std::memcpy(&dos, bytes.data(), sizeof(dos));
    ++bytes[static_cast<size_t>(dos.e_lfanew) +
            offsetof(IMAGE_NT_HEADERS64, OptionalHeader.CheckSum)];
    const std::filesystem::path changed = Folder() / "Changed.dll";
    WriteFileBytes(changed, bytes);

    const CChildProcess host = Start(L"--wnd=0 --library=\"" + changed.native() + L"\"");
    EXPECT_EQ(host.Wait(), 7u);
    EXPECT_THAT(host.Errors(),
                testing::HasSubstr("this is not the library that this program was built for"));
}

}  // namespace
