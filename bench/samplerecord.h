#pragma once

#include <cstdio>
#include <cwchar>

#include "zorvane/wire.h"

/** A dynamic record of GPU `index` of `count`, with every value that can be read. */
inline NvmlGpuRecord SampleRecord(uint32_t index, uint32_t count) {
    NvmlGpuRecord record{};
    wcscpy(record.entry, L"bench");
    record.kind = kGpuRecordDynamic;
    record.gpuIndex = index;
    record.gpuCount = count;
    record.gpuUtilizationPercent = 37;
    record.memoryUtilizationPercent = 12;
    record.temperatureCelsius = 61;
    record.fanSpeedPercent = 45;
    wcscpy(record.name, L"NVIDIA GeForce RTX 3090");
    for (uint32_t& clock : record.clockMHz) {
        clock = 1700;
    }
    record.pciBus = index + 1;
    record.pciDeviceId = 0x220410DE;
    std::snprintf(record.pciBusId, sizeof(record.pciBusId), "00000000:%02X:00.0", index + 1);
    return record;
}
