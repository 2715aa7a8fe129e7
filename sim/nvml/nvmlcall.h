/** What every entry point of the simulated Nvml.dll does around its own work. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "sim/nvml/nvmlexports.h"
#include "sim/scenario/scenario.h"

/** What fills the buffers of a failing call that writes nevertheless. */
inline constexpr unsigned char kGarbageByte = 0x58;

/** One call of an entry point. */
struct NvmlCall {
    /** The exported name. */
    const char* function;
    /** As it is logged, without the device: "type=2, id=0"; may be empty. */
    std::string arguments;
    /** What the call writes; a null pointer is an invalid argument. */
    void* out;
    size_t outSize;
    /** False when an argument is outside its enumeration. */
    bool argumentsValid = true;
    /** Chooses among the results that are set per clock type. */
    uint32_t clockType = 0;
};

/** Starts NVML once more: the scenario is loaded now. 999 when it cannot be used. */
int32_t StartNvml(const char* function);

/** Undoes one StartNvml. */
int32_t StopNvml();

/** The seconds that the machine's time functions are evaluated at, and the whole machine. */
struct NvmlMoment {
    Scenario& scenario;
    double seconds;
};

/**
 * Runs a call about the system. In this order: NVML must be started, the arguments valid, the
 * scenario may set another result than success (and then garbage is written if it says so); only
 * then `answer` runs and its result counts. The call is logged with its result. Thread-safe.
 */
int32_t RunSystemCall(const NvmlCall& call, const std::function<int32_t(NvmlMoment&)>& answer);

/**
 * As RunSystemCall, for one reading of a GPU: the handle must be valid, and a result set for this
 * GPU comes before one set for all. Once the number of readings that the scenario or this variant
 * allows is used up, the next one crashes with an access violation.
 */
int32_t RunReading(const NvmlCall& call, NvmlDevice device,
                   const std::function<int32_t(Gpu&, NvmlMoment&)>& answer);

/**
 * As RunReading, by index and without the crash: an index at or above the number of GPUs is an
 * invalid argument.
 */
int32_t RunIndexCall(const NvmlCall& call, uint32_t index,
                     const std::function<int32_t(Gpu&, NvmlMoment&)>& answer);

/** The number of readings before the crash that this variant was built with; 0: no crash. */
extern const uint32_t kVariantCrashAfterReadings;
