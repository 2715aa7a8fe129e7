/** A simulated graphics card; sim/README.md describes every key. */
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "sim/scenario/fault.h"
#include "sim/scenario/movingvalue.h"
#include "sim/scenario/nvmlinterface.h"
#include "sim/scenario/results.h"

/** What is absent is answered with "not supported". */
struct Gpu {
    std::string name;
    std::optional<std::string> serial;
    std::optional<std::string> vbios;
    std::optional<std::string> boardPartNumber;
    uint32_t domain = 0;
    uint32_t bus = 0;
    uint32_t device = 0;
    uint32_t deviceId = 0;
    uint32_t subsystemId = 0;
    /** With an eight-digit domain, and the older four-digit form. */
    std::string busId;
    std::string legacyBusId;
    /** False: NVML may count it, but hands out no handle. */
    bool permission = true;
    std::optional<uint64_t> memoryMiB;
    std::optional<CMovingValue> gpuUtilization;
    std::optional<CMovingValue> memoryUtilization;
    std::optional<CMovingValue> temperature;
    std::optional<CMovingValue> fanSpeed;
    std::array<std::optional<CMovingValue>, kClockTypes> clocks;
    std::array<std::optional<CMovingValue>, kClockTypes> maxClocks;
    CResults results;
    std::optional<CFault> fault;
};

/** Throws CScenarioError that names the place. */
Gpu ReadGpu(const CJsonPlace& place);
