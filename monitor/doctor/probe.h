/**
 * Asking NVML itself, in a process of its own: a vendor's library may hang or crash, and then that
 * is the answer.
 */
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "monitor/doctor/facts.h"

namespace zorvane {

/** The most GPUs that are asked and taken: a broken driver may count any number. */
inline constexpr uint32_t kMostProbedGpus = 64;

/** The word of zorvanemon's command line, behind "doctor", that makes it the asking process. */
inline constexpr char kProbeOption[] = "--ask-nvml";

/** How long NVML may take for everything; it needs a second or two to start. */
inline constexpr std::chrono::seconds kProbeLimit(10);

/**
 * Starts `program`, which is zorvanemon, to ask the library at `nvml`. Waits until it has ended, or
 * ends it by force after the limit.
 */
ProbeFacts ProbeNvml(const std::wstring& program, const std::wstring& nvml,
                     std::chrono::milliseconds limit);

/**
 * In the asking process: loads the library, asks it for everything and writes each call to standard
 * output before and after it is made. The process ends after that.
 */
void AskNvml(const std::wstring& path);

/** What the lines of AskNvml say; how the process ended is the caller's to add. Anything else in
 * `output` is left out. */
ProbeFacts ReadProbeLines(std::string_view output);

}  // namespace zorvane
