#include "sim/platform/device.h"

#include <cstring>
#include <mutex>

#include "sim/scenario/calllog.h"
#include "sim/scenario/environment.h"
#include "sim/scenario/platformfunctions.h"
#include "sim/scenario/scenariofile.h"

using zorvane::SlotObject;

namespace {

constexpr int32_t kSuccess = 0;
constexpr int32_t kFailure = -1;
constexpr int32_t kUnsupportedFunction = 4;

constexpr unsigned char kGarbageByte = 0x58;

constexpr size_t kPmTableSize = 176;
constexpr size_t kPmTableTemperature = 144;

std::mutex s_lock;
bool s_started = false;

const wchar_t* GetName(const SlotObject* self);
uint64_t GetTemperatureOffset(const SlotObject* self, int32_t* offset);
uint64_t GetCurrentTemperature(const SlotObject* self, double* temperature);
uint64_t GetPMTableData(const SlotObject* self, unsigned char* table);

const zorvane::CSlotTable<74, &ReportUnusedSlot> kDeviceSlots{{2, &GetName},
                                                              {27, &GetTemperatureOffset},
                                                              {42, &GetCurrentTemperature},
                                                              {73, &GetPMTableData}};

SlotObject s_cpuDevice{kDeviceSlots.Slots()};
SlotObject s_offsetDevice{kDeviceSlots.Slots()};

const char* NameOf(const SlotObject* device) {
    return device == &s_cpuDevice ? "device=cpu" : "device=offset";
}

// Makes one reading: `write` gets the value of a successful one; of a failing one, when the
// scenario says so, garbage of `size` bytes goes to `out`.
template <class Write>
uint64_t Read(const char* function, const SlotObject* self, DeviceReading* reading, void* out,
              size_t size, Write write) {
    DisturbPlatformCall(function, NameOf(self));
    const std::lock_guard guard(s_lock);
    int32_t status = s_started ? kUnsupportedFunction : kFailure;
    if (s_started && reading) {
        const double seconds = SecondsSinceProcessStart();
        status = RoundToSigned(reading->status.Read(seconds));
        if (status == kSuccess) {
            write(reading->value.Read(seconds));
        } else if (CurrentScenario()->garbage.writeOnFailure) {
            std::memset(out, kGarbageByte, size);
        }
    }
    LogCall(std::string(function) + "(" + NameOf(self) + ") = " + std::to_string(status));
    return zorvane::NumberInRegister(status);
}

const wchar_t* GetName(const SlotObject* self) {
    DisturbPlatformCall(kDeviceGetName, NameOf(self));
    LogCall(std::string(kDeviceGetName) + "(" + NameOf(self) + ")");
    return self == &s_cpuDevice ? CurrentCpu().name.c_str() : L"Temperature offset";
}

DeviceReading* OffsetReading() {
    std::optional<DeviceReading>& offset = CurrentCpu().offset;
    return offset ? &*offset : nullptr;
}

uint64_t GetTemperatureOffset(const SlotObject* self, int32_t* offset) {
    DeviceReading* reading = self == &s_offsetDevice ? OffsetReading() : nullptr;
    return Read(kDeviceGetTemperatureOffset, self, reading, offset, sizeof(*offset),
                [offset](double value) { *offset = RoundToSigned(value); });
}

uint64_t GetCurrentTemperature(const SlotObject* self, double* temperature) {
    DeviceReading* reading = self == &s_cpuDevice ? &CurrentCpu().currentTemperature : nullptr;
    return Read(kDeviceGetCurrentTemperature, self, reading, temperature, sizeof(*temperature),
                [temperature](double value) { *temperature = value; });
}

uint64_t GetPMTableData(const SlotObject* self, unsigned char* table) {
    DeviceReading* reading = self == &s_cpuDevice ? &CurrentCpu().pmTable : nullptr;
    return Read(kDeviceGetPMTableData, self, reading, table, kPmTableSize, [table](double value) {
        std::memset(table, kGarbageByte, kPmTableSize);
        std::memcpy(table + kPmTableTemperature, &value, sizeof(value));
    });
}

}  // namespace

void StartDevices() {
    const std::lock_guard guard(s_lock);
    s_started = true;
}

void StopDevices() {
    const std::lock_guard guard(s_lock);
    s_started = false;
}

void DisturbPlatformCall(const char* function, const std::string& arguments) {
    std::optional<Outcome> outcome;
    {
        const std::lock_guard guard(s_lock);
        outcome = CurrentCpu().results.Read(function, 0, SecondsSinceProcessStart());
    }
    // Not under the lock: a hanging call must not block other threads.
    Disturb(outcome.value_or(Outcome()), [&](const char* what) {
        LogCall(std::string(function) + "(" + arguments + ") = " + what);
    });
}

Cpu& CurrentCpu() {
    static Cpu s_none = [] {
        Cpu none;
        none.platformInit = false;
        none.device = false;
        return none;
    }();
    Scenario* scenario = CurrentScenario();
    return scenario && scenario->cpu ? *scenario->cpu : s_none;
}

SlotObject* FindDevice(int32_t type, int32_t index) {
    if (index != 0) {
        return nullptr;
    }
    if (type == 0) {
        return CurrentCpu().device ? &s_cpuDevice : nullptr;
    }
    return type == 1 && CurrentCpu().offset ? &s_offsetDevice : nullptr;
}
