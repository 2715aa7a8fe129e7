/** What NVML said, in words. */
#pragma once

#include <string>

#include "monitor/doctor/check.h"

namespace zorvane {

/** "NVML code 15: a GPU has fallen off the bus", by the table of reasons; "works" for 0. */
std::string NvmlCodeWords(int32_t code);

Finding DecideProbeFacts(const ProbeFacts& probe);

}  // namespace zorvane
