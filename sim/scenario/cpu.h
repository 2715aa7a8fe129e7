/** The simulated processor and its vendor's library; sim/README.md describes every key. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "sim/scenario/movingvalue.h"
#include "sim/scenario/results.h"

/** A call of the processor vendor's library: its status and what it writes. */
struct DeviceReading {
    CMovingValue status;
    CMovingValue value;
};

/** The processor and its vendor's library. */
struct Cpu {
    /** Twelve characters. */
    std::string vendor = "AuthenticAMD";
    uint32_t signature = 0;
    uint32_t packageType = 0;
    std::wstring name;
    /** What the library's Init answers. */
    bool platformInit = true;
    /** Whether Init also demands that the driver's device opens. */
    bool needsDriver = true;
    /** Whether the library has a CPU device at all. */
    bool device = true;
    DeviceReading pmTable;
    DeviceReading currentTemperature;
    /** Absent: the library has no second device. */
    std::optional<DeviceReading> offset;
    /** By the names in platformfunctions.h; never a code, only hangs and crashes. */
    CResults results;
};

/** Throws CScenarioError that names the place. */
Cpu ReadCpu(const CJsonPlace& place);
