/** What the simulated machine holds and how it answers; sim/README.md describes every key. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sim/scenario/cpu.h"
#include "sim/scenario/gpu.h"
#include "sim/scenario/machine.h"
#include "sim/scenario/results.h"

/** What a broken driver writes. */
struct Garbage {
    /** Texts fill the caller's whole buffer and have no NUL. */
    bool unterminatedTexts = false;
    /** A call that fails by a set result writes into its buffers all the same. */
    bool writeOnFailure = false;
    /** The reserved words behind the PCI information of version 2 are not zero. */
    bool reservedWords = false;
};

/** A whole machine. */
struct Scenario {
    std::optional<std::string> driverVersion;
    /** What nvmlDeviceGetCount answers; the number of `gpus` when absent. */
    std::optional<uint32_t> deviceCount;
    std::vector<Gpu> gpus;
    CResults results;
    Garbage garbage;
    /** The reading after this many crashes; absent: none does. */
    std::optional<uint32_t> crashAfterReadings;
    /** Absent: the real processor shows, and the vendor's library does not start. */
    std::optional<Cpu> cpu;
    /** Absent: Windows answers as it does on the real machine. */
    std::optional<Machine> machine;
};

/** Reads a scenario from JSON text. Throws CScenarioError that names the place. */
Scenario ParseScenario(const std::string& json);
