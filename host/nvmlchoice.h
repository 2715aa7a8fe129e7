/** Which NVML the worker library is led to. */
#pragma once

#include <optional>
#include <string_view>

/** The values of --nvml. */
enum class NvmlChoice {
    /** The one in the NVSMI folder, or, where there is none, the system folder's. */
    kAuto,
    /** The system folder's. */
    kSystem,
    /** The one in the NVSMI folder, which is what the library does by itself. */
    kFixed,
};

/** Parses "auto", "system" and "fixed", in any letter case; empty for anything else. */
std::optional<NvmlChoice> ParseNvmlChoice(std::wstring_view text);

/** Which files there are. */
struct NvmlFiles {
    bool fixed = false;
    bool system = false;
};

/** Whether the library is to be led to the system folder's file, which then exists. */
bool IsSystemNvmlWanted(NvmlChoice choice, const NvmlFiles& files);
