#include "tests/support/fakeplatform.h"

#include "tests/support/slottable.h"

namespace {

FakePlatform s_fakePlatform;

CSlotTable<74> s_deviceSlots;
CSlotTable<4> s_managerSlots;
CSlotTable<3> s_platformSlots;

SlotObject s_cpu{s_deviceSlots.Slots()};
SlotObject s_second{s_deviceSlots.Slots()};
SlotObject s_manager{s_managerSlots.Slots()};
SlotObject s_platform{s_platformSlots.Slots()};

const wchar_t* GetName(SlotObject* self) {
    s_fakePlatform.calls.emplace_back("GetName");
    return self == &s_cpu ? s_fakePlatform.cpuName : s_fakePlatform.secondName;
}

template <typename Value>
uint64_t Answer(const char* call, const std::function<int32_t(Value*)>& reading, Value* value) {
    constexpr int32_t kUnsupportedFunction = 4;
    s_fakePlatform.calls.emplace_back(call);
    return zorvane::NumberInRegister(reading ? reading(value) : kUnsupportedFunction);
}

uint64_t GetTemperatureOffset(SlotObject*, int32_t* offset) {
    return Answer("GetTemperatureOffset", s_fakePlatform.temperatureOffset, offset);
}

uint64_t GetCurrentTemperature(SlotObject*, double* temperature) {
    return Answer("GetCurrentTemperature", s_fakePlatform.currentTemperature, temperature);
}

uint64_t GetPMTableData(SlotObject*, PMTableData* data) {
    return Answer("GetPMTableData", s_fakePlatform.pmTable, data);
}

SlotObject* GetDevice(SlotObject*, int32_t type, int32_t index) {
    s_fakePlatform.calls.push_back("GetDevice(" + std::to_string(type) + ", " +
                                   std::to_string(index) + ")");
    if (type == 0 && index == 0) {
        return s_fakePlatform.cpuName ? &s_cpu : nullptr;
    }
    return type == 1 && index == 0 && s_fakePlatform.secondName ? &s_second : nullptr;
}

uint64_t Init(SlotObject*, void* first, void* second) {
    s_fakePlatform.calls.emplace_back("Init");
    return zorvane::BoolInRegister(s_fakePlatform.init && s_fakePlatform.init(first, second));
}

void UnInit(SlotObject*) { s_fakePlatform.calls.emplace_back("UnInit"); }

SlotObject* GetDeviceManager(SlotObject*) {
    s_fakePlatform.calls.emplace_back("GetDeviceManager");
    return &s_manager;
}

void FillSlots() {
    s_platformSlots.Set(0, &Init);
    s_platformSlots.Set(1, &UnInit);
    s_platformSlots.Set(2, &GetDeviceManager);
    s_managerSlots.Set(3, &GetDevice);
    s_deviceSlots.Set(2, &GetName);
    s_deviceSlots.Set(27, &GetTemperatureOffset);
    s_deviceSlots.Set(42, &GetCurrentTemperature);
    s_deviceSlots.Set(73, &GetPMTableData);
}

}  // namespace

FakePlatform& FakePlatform::Instance() { return s_fakePlatform; }

void FakePlatform::Reset() { *this = FakePlatform(); }

IPlatform& GetPlatform() {
    FillSlots();
    s_fakePlatform.calls.emplace_back("GetPlatform");
    void* object = &s_platform;
    return *static_cast<IPlatform*>(object);
}
