/** Readings for tests, put together by hand. */
#pragma once

#include <string>

#include "client/decode.h"
#include "client/moment.h"

/** GPU `index` at a bus id; none when that is empty. Utilisation 10 + index and 0, the rest not
 * read. */
inline zorvane::GpuReading Reading(uint32_t index, const std::string& busId) {
    zorvane::GpuReading reading;
    reading.index = index;
    reading.count = 8;
    reading.gpuUtilizationPercent = 10 + index;
    reading.memoryUtilizationPercent = 0;
    if (!busId.empty()) {
        reading.pci = zorvane::PciLocation{0, 1, 2, 0x268410DE, busId};
    }
    return reading;
}

inline zorvane::GpuReading FullReading() {
    zorvane::GpuReading reading = Reading(1, "00000000:01:00.0");
    reading.name = L"NVIDIA GeForce RTX 4090";
    reading.memoryUtilizationPercent = 5;
    reading.temperatureCelsius = 58;
    reading.fanSpeedPercent = 130;
    reading.clocksMHz = {1800, 1801, 10501, 1500};
    return reading;
}

inline zorvane::GpuStatic FullStatic() {
    zorvane::GpuStatic fixed;
    fixed.first = FullReading();
    fixed.totalMemoryKiB = 24564ull * 1024;
    fixed.serial = L"1320";
    fixed.vbiosVersion = L"95.02";
    fixed.driverVersion = L"551.86";
    fixed.maxClocksMHz = {3105, 3105, 10501, std::nullopt};
    return fixed;
}

/** A moment of the tests: 2024-11-21T04:42:11.123Z and so many seconds more. */
inline zorvane::UtcTime TimeOfTest(int seconds = 0) {
    return zorvane::UtcTime(std::chrono::milliseconds(1732164131123) +
                            std::chrono::seconds(seconds));
}
