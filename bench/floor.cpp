#include "bench/floor.h"

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/timeb.h>
#include <time.h>
#include <wchar.h>

#include <cstring>
#include <initializer_list>

namespace {

// The first that is there of at most three names.
void* FirstOf(HMODULE library, const char* name, const char* second = "", const char* third = "") {
    for (const char* candidate : {name, second, third}) {
        if (const FARPROC found = GetProcAddress(library, candidate)) {
            return reinterpret_cast<void*>(found);
        }
    }
    return nullptr;
}

void Widen(const char* text, wchar_t (&field)[kWireTextLength]) {
    wchar_t wide[128];
    MultiByteToWideChar(CP_THREAD_ACP, 0, text, -1, wide, 128);
    wcsncpy(field, wide, kWireTextLength - 1);
}

nvmlDevice_t Device(const FloorNvml& nvml, uint32_t index) {
    nvmlDevice_t device = nullptr;
    nvml.deviceGetHandleByIndex(index, &device);
    return device;
}

void ReadDynamic(const FloorNvml& nvml, uint32_t index, NvmlGpuRecord& record) {
    char name[101] = {};
    nvml.deviceGetName(Device(nvml, index), name, 64);
    Widen(name, record.name);
    nvmlUtilization_t rates{};
    nvml.deviceGetUtilizationRates(Device(nvml, index), &rates);
    record.gpuUtilizationPercent = rates.gpu;
    record.memoryUtilizationPercent = rates.memory;
    nvml.deviceGetTemperature(Device(nvml, index), NVML_TEMPERATURE_GPU,
                              &record.temperatureCelsius);
    nvml.deviceGetFanSpeed(Device(nvml, index), &record.fanSpeedPercent);
    const nvmlDevice_t device = Device(nvml, index);
    for (nvmlClockType_t type = 0; type < NVML_CLOCK_COUNT; ++type) {
        nvml.deviceGetClock(device, type, NVML_CLOCK_ID_CURRENT, &record.clockMHz[type]);
    }
    nvmlPciInfo_t pci{};
    nvml.deviceGetPciInfo(Device(nvml, index), &pci);
    record.pciDomain = pci.domain;
    record.pciBus = pci.bus;
    record.pciDevice = pci.device;
    record.pciDeviceId = pci.pciDeviceId;
    std::memcpy(record.pciBusId, pci.busId, kWireTextLength - 1);
}

}  // namespace

void FloorNvml::Bind(HMODULE library) {
#define ZORVANE_FLOOR_BIND(member, presence, signature, ...) \
    member = reinterpret_cast<decltype(member)>(FirstOf(library, __VA_ARGS__));
    ZORVANE_NVML_ENTRY_POINTS(ZORVANE_FLOOR_BIND)
#undef ZORVANE_FLOOR_BIND
}

CFloorLog::CFloorLog(const wchar_t* path) {
    InitializeCriticalSection(&m_lock);
    m_mutex = CreateMutexW(nullptr, FALSE, kFloorMutex);
    _wsopen_s(&m_fd, path, _O_WRONLY | _O_APPEND | _O_CREAT | _O_BINARY, _SH_DENYNO,
              _S_IREAD | _S_IWRITE);
}

CFloorLog::~CFloorLog() {
    _close(m_fd);
    CloseHandle(m_mutex);
    DeleteCriticalSection(&m_lock);
}

void CFloorLog::Write(const wchar_t* text) {
    EnterCriticalSection(&m_lock);
    __timeb64 now;
    _ftime64_s(&now);
    tm local;
    _localtime64_s(&local, &now.time);
    wchar_t line[200];
    const int length =
        _snwprintf(line, 200, L"%02d-%02d %02d:%02d:%02d.%03d [%5d][%5d][%s]%s\r\n",
                   local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                   int{now.millitm}, static_cast<int>(GetCurrentProcessId()),
                   static_cast<int>(GetCurrentThreadId()), L"E", text);
    char bytes[400];
    const int size = WideCharToMultiByte(CP_ACP, 0, line, length, bytes, 400, nullptr, nullptr);
    const HANDLE mutex = OpenMutexW(MUTEX_ALL_ACCESS, FALSE, kFloorMutex);
    WaitForSingleObject(mutex, 0);
    _write(m_fd, bytes, static_cast<unsigned>(size));
    ReleaseMutex(mutex);
    LeaveCriticalSection(&m_lock);
}

void CFloorLog::WriteSite(const char* source, int line, const wchar_t* format, int number) {
    // Whether the log is on.
    EnterCriticalSection(&m_lock);
    LeaveCriticalSection(&m_lock);
    wchar_t message[64];
    _snwprintf(message, 64, format, number);
    char prefix[64];
    _snprintf(prefix, 64, "[%4d][%s] ", line, source);
    wchar_t text[150];
    _snwprintf(text, 150, L"[I]%hs%s", prefix, message);
    Write(text);
}

void FloorSend(HWND stub, HWND from, NvmlGpuRecord& record) {
    wcscpy(record.entry, L"bench");
    const COPYDATASTRUCT data{kCopyDataTaskData, sizeof(record), &record};
    if (IsWindow(stub)) {
        SendMessageTimeoutW(stub, WM_COPYDATA, reinterpret_cast<WPARAM>(from),
                            reinterpret_cast<LPARAM>(&data), SMTO_BLOCK, 1000, nullptr);
    }
}

void FloorCycle(const FloorNvml& nvml, uint32_t gpus, HWND stub, HANDLE quit, CFloorLog& log) {
    for (uint32_t index = 0; index < gpus; ++index) {
        NvmlGpuRecord record{};
        record.kind = kGpuRecordDynamic;
        record.gpuIndex = index;
        record.gpuCount = gpus;
        ReadDynamic(nvml, index, record);
        FloorSend(stub, nullptr, record);
        WaitForSingleObject(quit, 0);
    }
    log.Write(L"-------log off");
}

NvmlGpuRecord FloorStatic(const FloorNvml& nvml, uint32_t index, uint32_t gpus) {
    NvmlGpuRecord record{};
    record.kind = kGpuRecordStatic;
    record.gpuIndex = index;
    record.gpuCount = gpus;
    ReadDynamic(nvml, index, record);
    char text[101] = {};
    nvml.systemGetDriverVersion(text, 100);
    Widen(text, record.driverVersion);
    nvmlMemory_t memory{};
    nvml.deviceGetMemoryInfo(Device(nvml, index), &memory);
    record.totalMemoryKiB = memory.total >> 10;
    nvml.deviceGetVbiosVersion(Device(nvml, index), text, 100);
    Widen(text, record.vbiosVersion);
    nvml.deviceGetSerial(Device(nvml, index), text, 100);
    Widen(text, record.serial);
    const nvmlDevice_t device = Device(nvml, index);
    for (nvmlClockType_t type = 0; type < NVML_CLOCK_COUNT; ++type) {
        nvml.deviceGetMaxClockInfo(device, type, &record.maxClockMHz[type]);
    }
    return record;
}
