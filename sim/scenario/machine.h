/** What Windows says about the simulated machine; sim/README.md describes every key. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "sim/scenario/results.h"

/** A version of Windows. */
struct WindowsVersion {
    uint32_t major = 10;
    uint32_t minor = 0;
    uint32_t build = 19045;
    /** False: a server. */
    bool workstation = true;
};

/** The answer of Windows Management Instrumentation about virtualisation-based security. */
struct VbsAnswer {
    /** False: the query fails. */
    bool available = true;
    /** 0: off, 1: configured, 2: running. */
    int32_t status = 0;
};

/** What is absent is as it is on the real machine. */
struct Machine {
    std::optional<bool> administrator;
    std::optional<WindowsVersion> windows;
    std::optional<VbsAnswer> vbs;
    std::optional<std::wstring> productName;
    /** A folder in the place of the system's, where the host looks for NVML. */
    std::optional<std::wstring> systemFolder;
    /** By the names in windowsfunctions.h; codes are Windows error codes. */
    CResults results;
};

/** Throws CScenarioError that names the place. */
Machine ReadMachine(const CJsonPlace& place);
