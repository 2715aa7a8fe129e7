#include "bench/recordjson.h"

#include <windows.h>

#include <cstdio>

size_t RecordJson(const NvmlGpuRecord& record, char* line, size_t room) {
    SYSTEMTIME now;
    GetSystemTime(&now);
    char name[100];
    char entry[100];
    WideCharToMultiByte(CP_UTF8, 0, record.name, -1, name, 100, nullptr, nullptr);
    WideCharToMultiByte(CP_UTF8, 0, record.entry, -1, entry, 100, nullptr, nullptr);
    return static_cast<size_t>(std::snprintf(
        line, room,
        R"({"type":"gpu","time":"%04d-%02d-%02dT%02d:%02d:%02d.%03dZ","schema":1,"host":"%s",)"
        R"("entry":"%s","index":%u,"count":%u,"name":"%s","pci":{"bus_id":"%s","domain":%u,)"
        R"("bus":%u,"device":%u,"device_id":%u},"gpu_utilization_percent":%u,)"
        R"("memory_utilization_percent":%u,"temperature_celsius":%u,"fan_speed_percent":%u,)"
        R"("clocks_mhz":{"graphics":%u,"sm":%u,"memory":%u,"video":%u}})"
        "\n",
        now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds,
        "bench", entry, record.gpuIndex, record.gpuCount, name, record.pciBusId, record.pciDomain,
        record.pciBus, record.pciDevice, record.pciDeviceId, record.gpuUtilizationPercent,
        record.memoryUtilizationPercent, record.temperatureCelsius, record.fanSpeedPercent,
        record.clockMHz[0], record.clockMHz[1], record.clockMHz[2], record.clockMHz[3]));
}
