// The shipped library on machines on which Windows stands in its way; each is a shipped scenario.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/e2e/simulatedmachine.h"
#include "tests/support/recordingstub.h"
#include "tests/support/winetest.h"

using testing::Contains;
using testing::HasSubstr;

namespace {

class Situations : public CWineTest {
  protected:
    // Runs a worker without GPUs; with no CPU temperature either it ends by itself.
    std::vector<std::string> RunToItsEnd(const std::wstring& scenario) {
        const std::wstring path = BuildFolder(L"sim\\scenarios\\" + scenario + L".json");
        const CSimulatedMachine machine({.scenario = ReadFileBytes(path), .nvml = L"none"});
        EXPECT_EQ(machine.StartWorker(m_stub.WindowWord())->Wait(), 0u);
        return machine.LogMessages();
    }

    CRecordingStub m_stub;
};

}  // namespace

TEST_F(Situations, NotAdministrator) {
    const std::vector<std::string> messages = RunToItsEnd(L"not-administrator");
    EXPECT_THAT(messages, Contains("[amdsdktask] User is not admin..."));
    EXPECT_THAT(messages, Contains("[utility] DeleteDriver OpenSCManager failed. 5"));
}

TEST_F(Situations, ServerEdition) {
    EXPECT_THAT(RunToItsEnd(L"server-windows"),
                Contains("[utility] IsSupportedOS not workstation"));
}

TEST_F(Situations, OlderWindows) {
    EXPECT_THAT(RunToItsEnd(L"old-windows"), Contains("[utility] IsSupportedOS not win10"));
}

TEST_F(Situations, RunningVbs) {
    EXPECT_THAT(RunToItsEnd(L"vbs-running"),
                Contains("[amdsdktask] Please disable VBS and re-start brevano."));
}

TEST_F(Situations, SkippedProduct) {
    const std::vector<std::string> messages = RunToItsEnd(L"surface-laptop");
    EXPECT_THAT(messages, Contains("[amdsdktask] product_name:Surface Laptop 3"));
    EXPECT_THAT(messages, Contains("[amdsdktask] product skip"));
}

TEST_F(Situations, ServiceMarkedForDelete) {
    const std::vector<std::string> messages = RunToItsEnd(L"service-marked-for-delete");
    EXPECT_THAT(messages, Contains(HasSubstr("CreateService error: 1072")));
    EXPECT_THAT(messages, Contains(HasSubstr("OpenService failed. 1072, 1060")));
}

TEST_F(Situations, BlockedDriver) {
    EXPECT_THAT(RunToItsEnd(L"blocked-driver"), Contains(HasSubstr("Service not running. 1275")));
}

TEST_F(Situations, DriverWithABadSignature) {
    EXPECT_THAT(RunToItsEnd(L"unsigned-driver"), Contains(HasSubstr("Service not running. 577")));
}
