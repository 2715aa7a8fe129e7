// An NVML that answers at once, so that what is measured is the worker and not the driver. It has
// as many GPUs as the variable ZORVANE_BENCH_GPUS says.
#include <windows.h>

#include <cstdlib>
#include <cstring>

#include "src/nvmlinfo/nvml.h"

namespace {

uint32_t s_count = 0;

uint32_t IndexOf(nvmlDevice_t device) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(device)) - 1;
}

nvmlReturn_t Answer(const char* answer, char* text, uint32_t length) {
    std::strncpy(text, answer, length);
    return NVML_SUCCESS;
}

}  // namespace

extern "C" {

__declspec(dllexport) nvmlReturn_t nvmlInit_v2() {
    char count[16] = {};
    GetEnvironmentVariableA("ZORVANE_BENCH_GPUS", count, sizeof(count));
    s_count = static_cast<uint32_t>(std::strtoul(count, nullptr, 10));
    return NVML_SUCCESS;
}
__declspec(dllexport) nvmlReturn_t nvmlShutdown() { return NVML_SUCCESS; }
__declspec(dllexport) const char* nvmlErrorString(nvmlReturn_t) { return ""; }
__declspec(dllexport) nvmlReturn_t nvmlDeviceGetCount_v2(uint32_t* count) {
    *count = s_count;
    return NVML_SUCCESS;
}
__declspec(dllexport) nvmlReturn_t
    nvmlDeviceGetHandleByIndex_v2(uint32_t index, nvmlDevice_t* device) {
    *device = reinterpret_cast<nvmlDevice_t>(uintptr_t{index} + 1);
    return NVML_SUCCESS;
}
__declspec(dllexport) nvmlReturn_t
    nvmlDeviceGetUtilizationRates(nvmlDevice_t, nvmlUtilization_t* rates) {
    *rates = {37, 12};
    return NVML_SUCCESS;
}
__declspec(dllexport) nvmlReturn_t nvmlDeviceGetMemoryInfo(nvmlDevice_t, nvmlMemory_t* memory) {
    *memory = {24ull << 30, 20ull << 30, 4ull << 30};
    return NVML_SUCCESS;
}
__declspec(dllexport) nvmlReturn_t nvmlDeviceGetName(nvmlDevice_t, char* name, uint32_t length) {
    return Answer("NVIDIA GeForce RTX 3090", name, length);
}
__declspec(dllexport) nvmlReturn_t
    nvmlDeviceGetTemperature(nvmlDevice_t, nvmlTemperatureSensors_t, uint32_t* celsius) {
    *celsius = 61;
    return NVML_SUCCESS;
}
__declspec(dllexport) nvmlReturn_t
    nvmlDeviceGetPciInfo_v3(nvmlDevice_t device, nvmlPciInfo_t* pci) {
    *pci = {};
    pci->bus = IndexOf(device) + 1;
    pci->pciDeviceId = 0x220410DE;
    std::strcpy(pci->busId, "00000000:00:00.0");
    pci->busId[9] = "0123456789ABCDEF"[pci->bus / 16 % 16];
    pci->busId[10] = "0123456789ABCDEF"[pci->bus % 16];
    return NVML_SUCCESS;
}
__declspec(dllexport) nvmlReturn_t nvmlDeviceGetFanSpeed(nvmlDevice_t, uint32_t* percent) {
    *percent = 45;
    return NVML_SUCCESS;
}
__declspec(dllexport) nvmlReturn_t
    nvmlDeviceGetClockInfo(nvmlDevice_t, nvmlClockType_t, uint32_t* mhz) {
    *mhz = 1700;
    return NVML_SUCCESS;
}
__declspec(dllexport) nvmlReturn_t
    nvmlDeviceGetMaxClockInfo(nvmlDevice_t, nvmlClockType_t, uint32_t* mhz) {
    *mhz = 2100;
    return NVML_SUCCESS;
}
__declspec(dllexport) nvmlReturn_t
    nvmlDeviceGetClock(nvmlDevice_t, nvmlClockType_t, nvmlClockId_t, uint32_t* mhz) {
    *mhz = 1700;
    return NVML_SUCCESS;
}
__declspec(dllexport) nvmlReturn_t
    nvmlDeviceGetSerial(nvmlDevice_t, char* serial, uint32_t length) {
    return Answer("1322621009034", serial, length);
}
__declspec(dllexport) nvmlReturn_t
    nvmlDeviceGetVbiosVersion(nvmlDevice_t, char* version, uint32_t length) {
    return Answer("94.02.42.00.00", version, length);
}
__declspec(dllexport) nvmlReturn_t nvmlSystemGetDriverVersion(char* version, uint32_t length) {
    return Answer("537.58", version, length);
}
__declspec(dllexport) nvmlReturn_t
    nvmlDeviceGetBoardPartNumber(nvmlDevice_t, char* number, uint32_t length) {
    return Answer("900-1G136", number, length);
}

}  // extern "C"
