/** What the simulated machine holds and how it answers; sim/README.md describes every key. */
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/scenario/movingvalue.h"

/** NVML's clock types: graphics, SM, memory, video. */
inline constexpr size_t kClockTypes = 4;

/** Set result codes of one function: one for all calls, or one per clock type. */
using ResultRule = std::vector<CMovingValue>;

/** Result codes by function name. */
class CResults {
  public:
    void Set(const std::string& function, ResultRule rule);

    /**
     * The rule for an entry point: the one set for exactly this name, else the one set for the name
     * without its "_v2" or "_v3". Null when none is set.
     */
    ResultRule* Find(std::string_view function);

  private:
    std::map<std::string, ResultRule, std::less<>> m_rules;
};

/** One graphics card. What is absent is answered with "not supported". */
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
    std::optional<uint64_t> memoryMiB;
    std::optional<CMovingValue> gpuUtilization;
    std::optional<CMovingValue> memoryUtilization;
    std::optional<CMovingValue> temperature;
    std::optional<CMovingValue> fanSpeed;
    std::array<std::optional<CMovingValue>, kClockTypes> clocks;
    std::array<std::optional<CMovingValue>, kClockTypes> maxClocks;
    CResults results;
};

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
};

/** A whole machine. */
struct Scenario {
    std::optional<std::string> driverVersion;
    /** What nvmlDeviceGetCount answers; the number of `gpus` when absent. */
    std::optional<uint32_t> deviceCount;
    std::vector<Gpu> gpus;
    CResults results;
    /** Texts fill the caller's whole buffer and have no NUL. */
    bool unterminatedTexts = false;
    /** A call that fails by a set result writes into its buffers all the same. */
    bool writeOnFailure = false;
    /** The reading after this many crashes; absent: none does. */
    std::optional<uint32_t> crashAfterReadings;
    /** Absent: the real processor shows, and the vendor's library does not start. */
    std::optional<Cpu> cpu;
};

/** Reads a scenario from JSON text. Throws CScenarioError that names the place. */
Scenario ParseScenario(const std::string& json);
