/** What every entry point of the simulated Nvml.dll does around its own work. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "sim/scenario/nvmlinterface.h"
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

/** Which GPUs an index counts. */
enum class NvmlEnumeration { kAll, kPermitted };

/** Starts NVML once more: the scenario is loaded now. 999 when it cannot be used. */
int32_t StartNvml(const char* function);

/** Undoes one StartNvml. */
int32_t StopNvml(const char* function);

/** The machine, and the time for which its moving values are read. */
struct NvmlMoment {
    Scenario& scenario;
    double seconds;
};

/**
 * Runs a call about the system. In this order: NVML must be started, the arguments valid, the
 * scenario may let the call hang, crash or return another code than success (and then garbage is
 * written if it says so); only then `answer` runs and its result counts. The call is logged with
 * its result. Thread-safe; a hanging call does not block other
 * calls.
 */
int32_t RunSystemCall(const NvmlCall& call, const std::function<int32_t(NvmlMoment&)>& answer);

/**
 * As RunSystemCall, for one reading of a GPU: the handle must be valid; the GPU's fault comes
 * first, then a result set for this GPU, then one set for all. Once the number of readings that the
 * scenario or this variant allows is used up, the next one crashes with an access violation.
 */
int32_t RunReading(const NvmlCall& call, NvmlDevice device,
                   const std::function<int32_t(Gpu&, NvmlMoment&)>& answer);

/**
 * As RunReading, by index among the GPUs of the enumeration, and not counted as a reading: an index
 * behind the last one is an invalid argument.
 */
int32_t RunIndexCall(const NvmlCall& call, uint32_t index, NvmlEnumeration enumeration,
                     const std::function<int32_t(Gpu&, NvmlMoment&)>& answer);

/**
 * Logs a call that needs no started NVML and answers with a text; the scenario may let it hang or
 * crash.
 */
void RunTextCall(const NvmlCall& call, const char* text);

/** The number of readings before the crash that this variant was built with; 0: no crash. */
extern const uint32_t kVariantCrashAfterReadings;
