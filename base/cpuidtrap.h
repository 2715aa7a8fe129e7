/** Replacing the answers of CPUID instructions in loaded code. */
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <span>

#include "base/callerror.h"
#include "base/cpuid.h"
#include "base/peimage.h"

namespace zorvane {

/** Whether a CPUID instruction stands at each of these addresses relative to the image's base. */
bool HoldsCpuidAt(const CPeImage& image, std::span<const uint32_t> addresses);

/**
 * Replaces the first byte of CPUID instructions with a breakpoint and answers in an exception
 * handler. The destructor restores them. One at a time per process.
 */
class CCpuidTrap {
  public:
    /** Called on the thread that executes the instruction. Must not execute a replaced one. */
    using Answer = std::function<CpuidRegisters(uint32_t leaf, uint32_t subleaf)>;

    CCpuidTrap() = default;
    ~CCpuidTrap();
    CCpuidTrap(const CCpuidTrap&) = delete;
    CCpuidTrap& operator=(const CCpuidTrap&) = delete;

    /**
     * Once, while no other thread executes code of `module` (null: the program). HoldsCpuidAt must
     * be true of its image and `addresses`. Returns the error if it fails; some may be replaced
     * then.
     */
    [[nodiscard]] std::optional<CallError> Set(HMODULE module, std::span<const uint32_t> addresses,
                                               Answer answer);

  private:
    void* m_handler = nullptr;
};

}  // namespace zorvane
