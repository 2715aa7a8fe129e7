#include "src/nvmlinfo/dynamicnvml.h"

#include <windows.h>

#include <initializer_list>

#include "src/log/logsite.h"

namespace {

constexpr char kLogSource[] = "nvmlinfo\\dynamicnvml.cpp";

// The first of `names` that the library exports, else null.
template <typename Function>
void Bind(HMODULE library, Function*& entryPoint, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (const FARPROC found = GetProcAddress(library, name)) {
            entryPoint = reinterpret_cast<Function*>(reinterpret_cast<void*>(found));
            return;
        }
    }
}

void BindEntryPoints(HMODULE library, NvmlApi& nvml) {
    Bind(library, nvml.init, {"nvmlInit_v2", "nvmlInit"});
    Bind(library, nvml.shutdown, {"nvmlShutdown"});
    Bind(library, nvml.errorString, {"nvmlErrorString"});
    Bind(library, nvml.deviceGetCount, {"nvmlDeviceGetCount_v2", "nvmlDeviceGetCount"});
    Bind(library, nvml.deviceGetHandleByIndex,
         {"nvmlDeviceGetHandleByIndex_v2", "nvmlDeviceGetHandleByIndex"});
    Bind(library, nvml.deviceGetUtilizationRates, {"nvmlDeviceGetUtilizationRates"});
    Bind(library, nvml.deviceGetMemoryInfo, {"nvmlDeviceGetMemoryInfo"});
    Bind(library, nvml.deviceGetName, {"nvmlDeviceGetName"});
    Bind(library, nvml.deviceGetTemperature, {"nvmlDeviceGetTemperature"});
    Bind(library, nvml.deviceGetPciInfo,
         {"nvmlDeviceGetPciInfo_v3", "nvmlDeviceGetPciInfo_v2", "nvmlDeviceGetPciInfo"});
    Bind(library, nvml.deviceGetFanSpeed, {"nvmlDeviceGetFanSpeed"});
    Bind(library, nvml.deviceGetClockInfo, {"nvmlDeviceGetClockInfo"});
    Bind(library, nvml.deviceGetMaxClockInfo, {"nvmlDeviceGetMaxClockInfo"});
    Bind(library, nvml.deviceGetClock, {"nvmlDeviceGetClock"});
    Bind(library, nvml.deviceGetSerial, {"nvmlDeviceGetSerial"});
    Bind(library, nvml.deviceGetVbiosVersion, {"nvmlDeviceGetVbiosVersion"});
    Bind(library, nvml.systemGetDriverVersion, {"nvmlSystemGetDriverVersion"});
    Bind(library, nvml.deviceGetBoardPartNumber, {"nvmlDeviceGetBoardPartNumber"});
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

// One reading. The handle is looked up also for an entry point that is not there.
template <typename Function, typename... Arguments>
bool Read(const NvmlApi& nvml, uint32_t index, Function* function, Arguments... arguments) {
    const nvmlDevice_t device = DeviceHandle(nvml, index);
    return function && device && Succeeded(nvml, function(device, arguments...));
}

// NVML is told less room than there is, so that a text without an end still ends here.
using TextFunction = nvmlReturn_t(nvmlDevice_t device, char* text, uint32_t length);
NvmlText ReadText(const NvmlApi& nvml, uint32_t index, TextFunction* function, uint32_t capacity) {
    NvmlText text{};
    return Read(nvml, index, function, text.characters, capacity) ? text : NvmlText{};
}

// A number that a failing call may have written is not handed on.
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
    const HMODULE library = LoadLibraryW(path);
    if (!library) {
        LOG_INFO(L"NVML DLL is not installed or not found at the default path.");
        return 0;
    }
    BindEntryPoints(library, *this);
    if (!init || !deviceGetCount) {
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
