#include "src/amdsdk/platform.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>

#include "base/peimage.h"
#include "tests/support/driverservice.h"
#include "tests/unit/sim/simfixture.h"

namespace {

constexpr char kExport[] = "?GetPlatform@@YAAEAVIPlatform@@XZ";

constexpr char kRyzen[] = R"({"cpu": {"signature": 1, "name": "AMD Ryzen 7", "needsDriver": false,
    "pmTable": {"temperature": {"perRead": [45.9, 46.1]}},
    "currentTemperature": {"status": {"perRead": [0, 5]}, "temperature": 66.5},
    "offset": {"value": 20}}})";

// A function of an object's table, called without any declaration of the object.
using RawSlot = uint64_t (*)(void* self, const void* first, const void* second);

RawSlot SlotOf(void* object, size_t number) { return (*static_cast<RawSlot**>(object))[number]; }

void* AsObject(uint64_t result) { return reinterpret_cast<void*>(result); }

class CPlatformTest : public CSimTest {
  protected:
    CPlatformTest() : m_library(SimFolder() / "Platform.dll") {}

    void* RawPlatform() const { return m_library.Get<void*()>(kExport)(); }
    IPlatform& Platform() const { return m_library.Get<IPlatform&()>(kExport)(); }

  private:
    CLoadedLibrary m_library;
};

TEST_F(CPlatformTest, SlotsStandAtTheirNumbers) {
    SetScenario(kRyzen);
    void* platform = RawPlatform();
    EXPECT_EQ(SlotOf(platform, 0)(platform, nullptr, nullptr) & 0xFF, 1u);
    void* manager = AsObject(SlotOf(platform, 2)(platform, nullptr, nullptr));
    const auto* second = reinterpret_cast<const void*>(uintptr_t{1});
    void* cpu = AsObject(SlotOf(manager, 3)(manager, nullptr, nullptr));
    void* offsetDevice = AsObject(SlotOf(manager, 3)(manager, second, nullptr));
    ASSERT_NE(cpu, nullptr);
    ASSERT_NE(offsetDevice, nullptr);

    EXPECT_STREQ(reinterpret_cast<const wchar_t*>(SlotOf(cpu, 2)(cpu, nullptr, nullptr)),
                 L"AMD Ryzen 7");
    int32_t offset = 0;
    EXPECT_EQ(static_cast<int32_t>(SlotOf(offsetDevice, 27)(offsetDevice, &offset, nullptr)), 0);
    EXPECT_EQ(offset, 20);
    double temperature = 0;
    EXPECT_EQ(static_cast<int32_t>(SlotOf(cpu, 42)(cpu, &temperature, nullptr)), 0);
    EXPECT_EQ(temperature, 66.5);
    unsigned char table[176] = {};
    EXPECT_EQ(static_cast<int32_t>(SlotOf(cpu, 73)(cpu, table, nullptr)), 0);
    std::memcpy(&temperature, table + 144, sizeof(temperature));
    EXPECT_EQ(temperature, 45.9);
    SlotOf(platform, 1)(platform, nullptr, nullptr);

    EXPECT_THAT(
        Calls(),
        testing::ElementsAre(
            "GetPlatform()", "IPlatform::Init(first=null, second=null) = true",
            "IPlatform::GetDeviceManager()", "IDeviceManager::GetDevice(type=0, index=0) = device",
            "IDeviceManager::GetDevice(type=1, index=0) = device", "IDevice::GetName(device=cpu)",
            "IDevice::GetTemperatureOffset(device=offset) = 0",
            "IDevice::GetCurrentTemperature(device=cpu) = 0",
            "IDevice::GetPMTableData(device=cpu) = 0", "IPlatform::UnInit()"));
}

TEST_F(CPlatformTest, WorkersDeclarationsReachTheSameFunctions) {
    SetScenario(kRyzen);
    IPlatform& platform = Platform();
    EXPECT_TRUE(platform.Init(nullptr, nullptr));
    IDevice* cpu = platform.GetDeviceManager().GetDevice(kDeviceTypeCpu, 0);
    IDevice* offsetDevice = platform.GetDeviceManager().GetDevice(kDeviceTypeOffset, 0);
    ASSERT_NE(cpu, nullptr);
    ASSERT_NE(offsetDevice, nullptr);
    EXPECT_STREQ(cpu->GetName(), L"AMD Ryzen 7");
    int32_t offset = 0;
    EXPECT_EQ(offsetDevice->GetTemperatureOffset(&offset), 0);
    EXPECT_EQ(offset, 20);
    double temperature = 0;
    EXPECT_EQ(cpu->GetCurrentTemperature(&temperature), 0);
    EXPECT_EQ(temperature, 66.5);
    PMTableData table;
    EXPECT_EQ(cpu->GetPMTableData(&table), 0);
    EXPECT_EQ(table.currentTemperature, 45.9);
    EXPECT_EQ(cpu->GetPMTableData(&table), 0);
    EXPECT_EQ(table.currentTemperature, 46.1);
    platform.UnInit();
}

TEST_F(CPlatformTest, OnlyTheDefinedBitsOfARegisterAreTheResult) {
    SetScenario(kRyzen);
    void* platform = RawPlatform();
    EXPECT_EQ(SlotOf(platform, 0)(platform, nullptr, nullptr), 0xFFFFFFFFFFFFFF01u);
    void* manager = AsObject(SlotOf(platform, 2)(platform, nullptr, nullptr));
    void* cpu = AsObject(SlotOf(manager, 3)(manager, nullptr, nullptr));
    double temperature = 0;
    EXPECT_EQ(SlotOf(cpu, 42)(cpu, &temperature, nullptr), 0xFFFFFFFF00000000u);
}

TEST_F(CPlatformTest, ReadingsFailOutsideInitAndUnInit) {
    SetScenario(kRyzen);
    IPlatform& platform = Platform();
    IDevice* cpu = platform.GetDeviceManager().GetDevice(kDeviceTypeCpu, 0);
    double temperature = 5;
    EXPECT_EQ(cpu->GetCurrentTemperature(&temperature), -1);
    EXPECT_EQ(temperature, 5);
    EXPECT_TRUE(platform.Init(nullptr, nullptr));
    EXPECT_EQ(cpu->GetCurrentTemperature(&temperature), 0);
    platform.UnInit();
    EXPECT_EQ(cpu->GetCurrentTemperature(&temperature), -1);
}

TEST_F(CPlatformTest, SetStatusComesBackAndNothingIsWritten) {
    SetScenario(kRyzen);
    IPlatform& platform = Platform();
    platform.Init(nullptr, nullptr);
    IDevice* cpu = platform.GetDeviceManager().GetDevice(kDeviceTypeCpu, 0);
    double temperature = 0;
    EXPECT_EQ(cpu->GetCurrentTemperature(&temperature), 0);
    temperature = 5;
    EXPECT_EQ(cpu->GetCurrentTemperature(&temperature), 5);
    EXPECT_EQ(temperature, 5);
}

TEST_F(CPlatformTest, FailingCallWritesGarbageWhenToldTo) {
    SetScenario(R"({"garbage": {"writeOnFailure": true}, "cpu": {"needsDriver": false,
        "offset": {"status": 1, "value": 20}}})");
    IPlatform& platform = Platform();
    platform.Init(nullptr, nullptr);
    int32_t offset = 0;
    IDevice* device = platform.GetDeviceManager().GetDevice(kDeviceTypeOffset, 0);
    EXPECT_EQ(device->GetTemperatureOffset(&offset), 1);
    EXPECT_EQ(offset, 0x58585858);
}

TEST_F(CPlatformTest, DevicesThatTheScenarioLeavesOutAreNull) {
    SetScenario(R"({"cpu": {"needsDriver": false, "device": false}})");
    IPlatform& platform = Platform();
    EXPECT_TRUE(platform.Init(nullptr, nullptr));
    EXPECT_EQ(platform.GetDeviceManager().GetDevice(kDeviceTypeCpu, 0), nullptr);
    EXPECT_EQ(platform.GetDeviceManager().GetDevice(kDeviceTypeOffset, 0), nullptr);
}

TEST_F(CPlatformTest, OtherTypesAndIndicesHaveNoDevice) {
    SetScenario(kRyzen);
    IDeviceManager& manager = Platform().GetDeviceManager();
    EXPECT_EQ(manager.GetDevice(2, 0), nullptr);
    EXPECT_EQ(manager.GetDevice(-1, 0), nullptr);
    EXPECT_EQ(manager.GetDevice(kDeviceTypeCpu, 1), nullptr);
}

TEST_F(CPlatformTest, InitAnswersAsTheScenarioSays) {
    SetScenario(R"({"cpu": {"platformInit": false, "needsDriver": false}})");
    EXPECT_FALSE(Platform().Init(nullptr, nullptr));
}

TEST_F(CPlatformTest, InitFailsOnAMachineWithoutASimulatedProcessor) {
    SetScenario("{}");
    EXPECT_FALSE(Platform().Init(nullptr, nullptr));
    EXPECT_EQ(Platform().GetDeviceManager().GetDevice(kDeviceTypeCpu, 0), nullptr);
}

TEST_F(CPlatformTest, InitNeedsTheDriversDevice) {
    if (!IsWine()) {
        GTEST_SKIP() << "a real machine may have the real driver running";
    }
    SetScenario(R"({"cpu": {}})");
    EXPECT_FALSE(Platform().Init(nullptr, nullptr));
}

std::filesystem::path StandInPath() {
    return SimFolder().parent_path() / "bin" / "platform-standin" / "Platform.dll";
}

TEST(PlatformStandIn, NeverStartsAndHasNoDevice) {
    const CLoadedLibrary library(StandInPath());
    IPlatform& platform = library.Get<IPlatform&()>(kExport)();
    EXPECT_FALSE(platform.Init(nullptr, nullptr));
    EXPECT_EQ(platform.GetDeviceManager().GetDevice(kDeviceTypeCpu, 0), nullptr);
    EXPECT_EQ(platform.GetDeviceManager().GetDevice(kDeviceTypeOffset, 0), nullptr);
    platform.UnInit();
    EXPECT_FALSE(platform.Init(nullptr, nullptr));
}

TEST(PlatformStandIn, SlotsStandAtTheirNumbers) {
    const CLoadedLibrary library(StandInPath());
    void* platform = library.Get<void*()>(kExport)();
    EXPECT_EQ(SlotOf(platform, 0)(platform, nullptr, nullptr) & 0xFF, 0u);
    SlotOf(platform, 1)(platform, nullptr, nullptr);
    void* manager = AsObject(SlotOf(platform, 2)(platform, nullptr, nullptr));
    EXPECT_EQ(SlotOf(manager, 3)(manager, nullptr, nullptr), 0u);
}

TEST(PlatformStandIn, HasNoThreadCallbacks) {
    const auto image = zorvane::CPeImage::OfFile((StandInPath()).native());
    ASSERT_TRUE(image.IsValid());
    EXPECT_EQ(image.Directory(IMAGE_DIRECTORY_ENTRY_TLS).VirtualAddress, 0u);
}

}  // namespace
