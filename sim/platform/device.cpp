#include "sim/platform/device.h"

#include <cstring>
#include <mutex>

#include "sim/scenario/calllog.h"
#include "sim/scenario/environment.h"
#include "sim/scenario/platformfunctions.h"
#include "sim/scenario/scenariofile.h"

namespace {

constexpr int32_t kSuccess = 0;
constexpr int32_t kFailure = -1;
constexpr int32_t kUnsupportedFunction = 4;

constexpr unsigned char kGarbageByte = 0x58;

constexpr size_t kPmTableSize = 176;
constexpr size_t kPmTableTemperature = 144;

std::mutex s_lock;
bool s_started = false;

uint64_t GetName(VendorObject* self, uint64_t, uint64_t);
uint64_t GetTemperatureOffset(VendorObject* self, uint64_t offset, uint64_t);
uint64_t GetCurrentTemperature(VendorObject* self, uint64_t temperature, uint64_t);
uint64_t GetPMTableData(VendorObject* self, uint64_t table, uint64_t);

constexpr auto kDeviceSlots = [] {
    auto slots = UnusedSlots<74>();
    slots[2] = &GetName;
    slots[27] = &GetTemperatureOffset;
    slots[42] = &GetCurrentTemperature;
    slots[73] = &GetPMTableData;
    return slots;
}();

constinit VendorObject s_cpuDevice{kDeviceSlots.data()};
constinit VendorObject s_offsetDevice{kDeviceSlots.data()};

const char* NameOf(const VendorObject* device) {
    return device == &s_cpuDevice ? "device=cpu" : "device=offset";
}

// Makes one reading: `write` gets the value of a successful one; of a failing one, when the
// scenario says so, garbage of `size` bytes goes to `out`.
template <class Write>
uint64_t Read(const char* function, VendorObject* self, DeviceReading* reading, void* out,
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
    return NumberInRegister(status);
}

uint64_t GetName(VendorObject* self, uint64_t, uint64_t) {
    DisturbPlatformCall(kDeviceGetName, NameOf(self));
    LogCall(std::string(kDeviceGetName) + "(" + NameOf(self) + ")");
    return reinterpret_cast<uint64_t>(self == &s_cpuDevice ? CurrentCpu().name.c_str()
                                                           : L"Temperature offset");
}

DeviceReading* OffsetReading() {
    std::optional<DeviceReading>& offset = CurrentCpu().offset;
    return offset ? &*offset : nullptr;
}

uint64_t GetTemperatureOffset(VendorObject* self, uint64_t offset, uint64_t) {
    auto* out = reinterpret_cast<int32_t*>(offset);
    DeviceReading* reading = self == &s_offsetDevice ? OffsetReading() : nullptr;
    return Read(kDeviceGetTemperatureOffset, self, reading, out, sizeof(*out),
                [out](double value) { *out = RoundToSigned(value); });
}

uint64_t GetCurrentTemperature(VendorObject* self, uint64_t temperature, uint64_t) {
    auto* out = reinterpret_cast<double*>(temperature);
    DeviceReading* reading = self == &s_cpuDevice ? &CurrentCpu().currentTemperature : nullptr;
    return Read(kDeviceGetCurrentTemperature, self, reading, out, sizeof(*out),
                [out](double value) { *out = value; });
}

uint64_t GetPMTableData(VendorObject* self, uint64_t table, uint64_t) {
    auto* out = reinterpret_cast<unsigned char*>(table);
    DeviceReading* reading = self == &s_cpuDevice ? &CurrentCpu().pmTable : nullptr;
    return Read(kDeviceGetPMTableData, self, reading, out, kPmTableSize, [out](double value) {
        std::memset(out, kGarbageByte, kPmTableSize);
        std::memcpy(out + kPmTableTemperature, &value, sizeof(value));
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
    // Unlocked: a call that hangs keeps no other waiting.
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

VendorObject* FindDevice(int32_t type, int32_t index) {
    if (index != 0) {
        return nullptr;
    }
    if (type == 0) {
        return CurrentCpu().device ? &s_cpuDevice : nullptr;
    }
    return type == 1 && CurrentCpu().offset ? &s_offsetDevice : nullptr;
}
