#include "sim/nvml/nvmlcall.h"

#ifndef ZORVANE_SIM_CRASH_AFTER_READINGS
#define ZORVANE_SIM_CRASH_AFTER_READINGS 0
#endif

const uint32_t kVariantCrashAfterReadings = ZORVANE_SIM_CRASH_AFTER_READINGS;
