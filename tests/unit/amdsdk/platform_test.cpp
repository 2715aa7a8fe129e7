#include "src/amdsdk/platform.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/slottable.h"

// The vendor library is built by another compiler, which leaves the bits of a register above a
// narrow result undefined. The functions here return the whole register.

namespace {

CSlotTable<74> s_deviceSlots;
CSlotTable<4> s_managerSlots;
CSlotTable<3> s_platformSlots;
SlotObject s_device{s_deviceSlots.Slots()};
SlotObject s_manager{s_managerSlots.Slots()};
SlotObject s_platform{s_platformSlots.Slots()};

// Register of the next result.
uint64_t s_register = 0;
const void* s_self = nullptr;
const void* s_argument = nullptr;

uint64_t Answer(const void* self, const void* argument) {
    s_self = self;
    s_argument = argument;
    return s_register;
}

uint64_t Init(SlotObject* self, void* first, void* second) {
    EXPECT_EQ(first, nullptr);
    EXPECT_EQ(second, nullptr);
    return Answer(self, nullptr);
}

void UnInit(SlotObject* self) { s_self = self; }

SlotObject* GetDeviceManager(SlotObject* self) {
    s_self = self;
    return &s_manager;
}

SlotObject* GetDevice(SlotObject* self, int32_t type, int32_t index) {
    s_self = self;
    return type == 1 && index == 2 ? &s_device : nullptr;
}

const wchar_t* GetName(SlotObject* self) {
    s_self = self;
    return L"name";
}

uint64_t ReadInto(SlotObject* self, void* argument) { return Answer(self, argument); }

template <typename Interface>
Interface& As(SlotObject& object) {
    void* address = &object;
    return *static_cast<Interface*>(address);
}

class CPlatformTest : public testing::Test {
  protected:
    IPlatform& m_platform = As<IPlatform>(s_platform);
    IDeviceManager& m_manager = As<IDeviceManager>(s_manager);
    IDevice& m_device = As<IDevice>(s_device);
};

// Reads as the task does, where the compiler may rely on a bool being 0 or 1.
[[gnu::noinline]] int InitSucceeds(IPlatform& platform) {
    return platform.Init(nullptr, nullptr) ? 1 : 0;
}

TEST_F(CPlatformTest, InitIsSlot0AndOneByteOfItsResultCounts) {
    s_platformSlots.Set(0, &Init);
    s_register = 0xFFFFFFFFFFFFFF00;
    EXPECT_EQ(InitSucceeds(m_platform), 0);
    EXPECT_EQ(s_self, &s_platform);
    s_register = 0xFFFFFFFFFFFFFF01;
    EXPECT_EQ(InitSucceeds(m_platform), 1);
    s_register = 0x100;
    EXPECT_EQ(InitSucceeds(m_platform), 0);
    s_register = 0;
    EXPECT_EQ(InitSucceeds(m_platform), 0);
}

TEST_F(CPlatformTest, UnInitIsSlot1) {
    s_platformSlots.Set(1, &UnInit);
    m_platform.UnInit();
    EXPECT_EQ(s_self, &s_platform);
}

TEST_F(CPlatformTest, GetDeviceManagerIsSlot2) {
    s_platformSlots.Set(2, &GetDeviceManager);
    EXPECT_EQ(&m_platform.GetDeviceManager(), &m_manager);
    EXPECT_EQ(s_self, &s_platform);
}

TEST_F(CPlatformTest, GetDeviceIsSlot3OfTheManager) {
    s_managerSlots.Set(3, &GetDevice);
    EXPECT_EQ(m_manager.GetDevice(1, 2), &m_device);
    EXPECT_EQ(m_manager.GetDevice(2, 1), nullptr);
    EXPECT_EQ(s_self, &s_manager);
}

TEST_F(CPlatformTest, GetNameIsSlot2OfADevice) {
    s_deviceSlots.Set(2, &GetName);
    EXPECT_STREQ(m_device.GetName(), L"name");
    EXPECT_EQ(s_self, &s_device);
}

TEST_F(CPlatformTest, GetTemperatureOffsetIsSlot27AndItsStatus32BitsWide) {
    s_deviceSlots.Set(27, &ReadInto);
    int32_t offset = 0;
    s_register = 0xFFFFFFFF00000000;
    EXPECT_EQ(m_device.GetTemperatureOffset(&offset), 0);
    EXPECT_EQ(s_argument, &offset);
    s_register = 0xFFFFFFFF00000005;
    EXPECT_EQ(m_device.GetTemperatureOffset(&offset), 5);
}

TEST_F(CPlatformTest, GetCurrentTemperatureIsSlot42AndItsStatus32BitsWide) {
    s_deviceSlots.Set(42, &ReadInto);
    double temperature = 0;
    s_register = 0xABCDEF0100000000;
    EXPECT_EQ(m_device.GetCurrentTemperature(&temperature), 0);
    EXPECT_EQ(s_argument, &temperature);
    s_register = 0x00000000FFFFFFFF;
    EXPECT_EQ(m_device.GetCurrentTemperature(&temperature), -1);
}

TEST_F(CPlatformTest, GetPMTableDataIsSlot73AndItsStatus32BitsWide) {
    s_deviceSlots.Set(73, &ReadInto);
    PMTableData table;
    s_register = 0x8000000000000000;
    EXPECT_EQ(m_device.GetPMTableData(&table), 0);
    EXPECT_EQ(s_argument, &table);
    s_register = 0x8000000000000003;
    EXPECT_EQ(m_device.GetPMTableData(&table), 3);
}

// The library's own record: 176 bytes, the temperature at byte 144.
uint64_t FillTable(SlotObject*, unsigned char* record) {
    constexpr double kTemperature = 47.5;
    std::memset(record, 0xFF, 176);
    std::memcpy(record + 144, &kTemperature, sizeof(kTemperature));
    return 0;
}

TEST_F(CPlatformTest, TableRecordHasRoomFor176BytesWithTheTemperatureAt144) {
    s_deviceSlots.Set(73, &FillTable);
    struct {
        PMTableData table;
        unsigned char behind = 0x5A;
    } record;
    EXPECT_EQ(m_device.GetPMTableData(&record.table), 0);
    EXPECT_EQ(record.table.currentTemperature, 47.5);
    EXPECT_EQ(record.behind, 0x5A);
}

}  // namespace
