#include "base/handle.h"
#include "src/amdsdk/utility.h"
#include "tests/support/driverservice.h"
#include "tests/unit/sim/simfixture.h"

namespace {

// The real service manager with the simulated driver, which no test may install on real Windows.
class CDriverTest : public CSimTest {
  protected:
    void SetUp() override {
        if (!IsWine()) {
            GTEST_SKIP() << "no test installs a driver on real Windows";
        }
        RemoveDriverService();
    }
    void TearDown() override {
        if (IsWine()) {
            RemoveDriverService();
        }
    }

    static CServiceHandle Install() {
        const std::filesystem::path file = SimFolder() / "AMDRyzenMasterDriver.sys";
        return CServiceHandle(CreateServiceW(
            OpenServiceManager().get(), kDriverServiceName, kDriverServiceName, SERVICE_ALL_ACCESS,
            SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, file.c_str(),
            nullptr, nullptr, nullptr, nullptr, nullptr));
    }
};

TEST_F(CDriverTest, DeviceOpensWhileTheServiceRuns) {
    const CServiceHandle service = Install();
    ASSERT_NE(service, nullptr) << GetLastError();
    EXPECT_FALSE(DriverDeviceOpens());

    ASSERT_TRUE(StartServiceW(service.get(), 0, nullptr)) << GetLastError();
    EXPECT_EQ(ServiceState(), DWORD{SERVICE_RUNNING});
    EXPECT_TRUE(DriverDeviceOpens());
    EXPECT_TRUE(DriverDeviceOpens());

    SERVICE_STATUS status{};
    ASSERT_TRUE(ControlService(service.get(), SERVICE_CONTROL_STOP, &status)) << GetLastError();
    EXPECT_TRUE(WaitForServiceState(SERVICE_STOPPED));
    EXPECT_FALSE(DriverDeviceOpens());
    EXPECT_TRUE(DeleteService(service.get())) << GetLastError();
}

TEST_F(CDriverTest, DriverStartsAgainAfterItWasStopped) {
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round);
        const CServiceHandle service = Install();
        ASSERT_NE(service, nullptr) << GetLastError();
        ASSERT_TRUE(StartServiceW(service.get(), 0, nullptr)) << GetLastError();
        EXPECT_TRUE(DriverDeviceOpens());
        RemoveDriverService();
        EXPECT_FALSE(DriverDeviceOpens());
    }
}

TEST_F(CDriverTest, ControlCodesAreAnsweredWithSuccessAndNoData) {
    const CServiceHandle service = Install();
    ASSERT_TRUE(StartServiceW(service.get(), 0, nullptr)) << GetLastError();
    const zorvane::CUniqueHandle device = zorvane::OwnFile(CreateFileW(
        kDriverDevice, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(device);
    DWORD returned = 5;
    EXPECT_TRUE(
        DeviceIoControl(device.get(), 0x222000, nullptr, 0, nullptr, 0, &returned, nullptr));
    EXPECT_EQ(returned, 0u);
}

TEST_F(CDriverTest, PlatformStartsOnceTheDriverRuns) {
    SetScenario(R"({"cpu": {}})");
    const CServiceHandle service = Install();
    const CLoadedLibrary library(SimFolder() / "Platform.dll");
    void* platform = library.Get<void*()>("?GetPlatform@@YAAEAVIPlatform@@XZ")();
    const auto* slots = *static_cast<uint64_t (***)(void*, void*, void*)>(platform);
    EXPECT_EQ(slots[0](platform, nullptr, nullptr) & 0xFF, 0u);
    ASSERT_TRUE(StartServiceW(service.get(), 0, nullptr)) << GetLastError();
    EXPECT_EQ(slots[0](platform, nullptr, nullptr) & 0xFF, 1u);
    slots[1](platform, nullptr, nullptr);
}

}  // namespace
