/** The functions of NVML for which a scenario can set results. */
#pragma once

#include <vector>

#include "sim/scenario/results.h"

/** Every entry point. */
std::vector<ResultFunction> NvmlFunctions();

/** Those that are called for one GPU. */
std::vector<ResultFunction> NvmlGpuFunctions();
