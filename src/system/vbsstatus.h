/** The state of Virtualization-Based Security. */
#pragma once

#include <cstdint>

/**
 * Asks WMI. 0: the query ran, and `*status` holds the answer of the last instance, or is unchanged
 * when none came. 1: a step of the query failed. Work thread only: COM is set up there meanwhile.
 */
int QueryVbsStatus(uint32_t* status);
