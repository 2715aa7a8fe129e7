/** NVML's texts for its return codes. */
#pragma once

#include <cstdint>

/** The text for a published code, "Unknown Error" for any other. */
const char* ErrorText(int32_t result);
