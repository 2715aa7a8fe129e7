/** The entry points of a simulated Nvml.dll as a caller sees them. */
#pragma once

#include "sim/scenario/nvmlinterface.h"
#include "tests/unit/sim/simfixture.h"

/** A loaded simulated Nvml.dll. An entry point that a variant lacks is null. */
class CNvml {
  public:
    explicit CNvml(const std::string& variant = "") : m_library(NvmlPath(variant)) {}

    /** The library itself, for replacing what it imports. */
    HMODULE Module() const { return m_library.Module(); }

    /** The handle of a GPU; null when there is none. */
    NvmlDevice Device(uint32_t index) const {
        NvmlDevice device = nullptr;
        nvmlDeviceGetHandleByIndex_v2(index, &device);
        return device;
    }

  private:
    CLoadedLibrary m_library;

  public:
#define ZORVANE_ENTRY(name, subject, result, parameters)              \
    decltype(::name)* name /* NOLINT(bugprone-macro-parentheses) */ = \
        m_library.Get<decltype(::name)>(#name);
    ZORVANE_SIM_NVML_ENTRY_POINTS(ZORVANE_ENTRY)
#undef ZORVANE_ENTRY
};
