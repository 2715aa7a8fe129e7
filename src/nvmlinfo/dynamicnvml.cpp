#include "src/nvmlinfo/dynamicnvml.h"

#include <windows.h>

#include <initializer_list>

#include "src/log/logsite.h"

namespace {

constexpr char kLogSource[] = "nvmlinfo\\dynamicnvml.cpp";

// The first of `names` that the library exports, else null.
template <typename Function>
Function* FindFirst(HMODULE library, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (const FARPROC found = GetProcAddress(library, name)) {
            return reinterpret_cast<Function*>(reinterpret_cast<void*>(found));
        }
    }
    return nullptr;
}

void BindEntryPoints(HMODULE library, NvmlApi& nvml) {
#define ZORVANE_NVML_BIND(member, presence, signature, ...) \
    nvml.member = FindFirst<signature>(library, {__VA_ARGS__});
    ZORVANE_NVML_ENTRY_POINTS(ZORVANE_NVML_BIND)
#undef ZORVANE_NVML_BIND
}

bool IsUsable(const NvmlApi& nvml) {
    bool isUsable = true;
#define ZORVANE_NVML_CHECK(member, presence, signature, ...) \
    isUsable = isUsable && (NvmlPresence::presence == NvmlPresence::kOptional || nvml.member);
    ZORVANE_NVML_ENTRY_POINTS(ZORVANE_NVML_CHECK)
#undef ZORVANE_NVML_CHECK
    return isUsable;
}

bool Succeeded(const NvmlApi& nvml, nvmlReturn_t code) {
    if (code != NVML_SUCCESS && nvml.errorString) {
        nvml.errorString(code);
    }
    return code == NVML_SUCCESS;
}

nvmlDevice_t DeviceHandle(const NvmlApi& nvml, uint32_t index) {
    if (index >= nvml.deviceCount || !nvml.deviceGetHandleByIndex) {
        return nullptr;
    }
    nvmlDevice_t device = nullptr;
    const bool found = Succeeded(nvml, nvml.deviceGetHandleByIndex(index, &device));
    return found ? device : nullptr;
}

// One reading. The handle is deliberately not kept: each reading looks it up anew, and does so even
// when the entry point is missing.
template <typename Function, typename... Arguments>
bool Read(const NvmlApi& nvml, uint32_t index, Function* function, Arguments... arguments) {
    const nvmlDevice_t device = DeviceHandle(nvml, index);
    return function && device && Succeeded(nvml, function(device, arguments...));
}

// NVML is told one character less than there is room for: a text that it does not terminate still
// ends within the buffer.
using TextFunction = nvmlReturn_t(nvmlDevice_t device, char* text, uint32_t length);
NvmlText ReadText(const NvmlApi& nvml, uint32_t index, TextFunction* function, uint32_t capacity) {
    NvmlText text{};
    return Read(nvml, index, function, text.characters, capacity) ? text : NvmlText{};
}

// Reads into a copy, because a call may write to its argument and fail all the same.
template <typename Value, typename Function, typename... Arguments>
bool ReadValue(const NvmlApi& nvml, uint32_t index, Value& value, Function* function,
               Arguments... arguments) {
    Value read{};
    if (!Read(nvml, index, function, arguments..., &read)) {
        return false;
    }
    value = read;
    return true;
}

// A series of readings of one device: one look-up of the handle, and the first failure ends it.
template <typename Function, typename... Arguments>
NvmlClocks ReadClocks(const NvmlApi& nvml, uint32_t index, Function* function,
                      Arguments... arguments) {
    NvmlClocks clocks{};
    const nvmlDevice_t device = DeviceHandle(nvml, index);
    if (!function || !device) {
        return clocks;
    }
    for (nvmlClockType_t type = 0; type < NVML_CLOCK_COUNT; ++type) {
        uint32_t mhz = 0;
        if (!Succeeded(nvml, function(device, type, arguments..., &mhz))) {
            break;
        }
        clocks.mhz[type] = mhz;
    }
    return clocks;
}

}  // namespace

int NvmlApi::Load(const wchar_t* path) {
    if (!path) {
        return 0;
    }
    // Deliberately never freed: NVML's own threads may outlive any use of it.
    const HMODULE library = LoadLibraryW(path);
    if (!library) {
        LOG_INFO(L"NVML DLL is not installed or not found at the default path.");
        return 0;
    }
    BindEntryPoints(library, *this);
    if (!IsUsable(*this)) {
        LOG_INFO(L"nvmlInit func failed");
        return 0;
    }
    nvmlReturn_t result = init();
    if (result != NVML_SUCCESS) {
        LOG_INFO(L"nvmlInit failed, ret = %d", result);
        return 0;
    }
    uint32_t count = 0;
    result = deviceGetCount(&count);
    // NVML stays started here, and is not shut down later: the count decides that, and is 0.
    if (result != NVML_SUCCESS) {
        LOG_INFO(L"nvmlDeviceGetCount failed, ret = %d", result);
        return 0;
    }
    deviceCount = count;
    LOG_INFO(L"nvmlDeviceGetCount = %d", deviceCount);
    return deviceCount > 0 ? 1 : 0;
}

NvmlText NvmlApi::Name(uint32_t index) const {
    constexpr uint32_t kNameCapacity = 64;
    return ReadText(*this, index, deviceGetName, kNameCapacity);
}

NvmlText NvmlApi::Serial(uint32_t index) const {
    return ReadText(*this, index, deviceGetSerial, NvmlText::kCapacity);
}

NvmlText NvmlApi::VbiosVersion(uint32_t index) const {
    return ReadText(*this, index, deviceGetVbiosVersion, NvmlText::kCapacity);
}

NvmlText NvmlApi::DriverVersion() const {
    NvmlText text{};
    if (!systemGetDriverVersion ||
        !Succeeded(*this, systemGetDriverVersion(text.characters, NvmlText::kCapacity))) {
        return {};
    }
    return text;
}

bool NvmlApi::Utilization(uint32_t index, nvmlUtilization_t& rates) const {
    return deviceGetUtilizationRates && ReadValue(*this, index, rates, deviceGetUtilizationRates);
}

bool NvmlApi::TotalMemory(uint32_t index, uint64_t& bytes) const {
    nvmlMemory_t memory{};
    if (!ReadValue(*this, index, memory, deviceGetMemoryInfo)) {
        return false;
    }
    bytes = memory.total;
    return true;
}

bool NvmlApi::Temperature(uint32_t index, uint32_t& celsius) const {
    return ReadValue(*this, index, celsius, deviceGetTemperature, NVML_TEMPERATURE_GPU);
}

bool NvmlApi::FanSpeed(uint32_t index, uint32_t& percent) const {
    return ReadValue(*this, index, percent, deviceGetFanSpeed);
}

bool NvmlApi::PciInfo(uint32_t index, nvmlPciInfo_t& pci) const {
    return ReadValue(*this, index, pci, deviceGetPciInfo);
}

NvmlClocks NvmlApi::MaxClocks(uint32_t index) const {
    return ReadClocks(*this, index, deviceGetMaxClockInfo);
}

NvmlClocks NvmlApi::CurrentClocks(uint32_t index) const {
    return ReadClocks(*this, index, deviceGetClock, NVML_CLOCK_ID_CURRENT);
}
