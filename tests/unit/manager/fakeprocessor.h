/** A processor that the AMD library supports, on any machine. */
#pragma once

/**
 * From the first call until the process ends, the AMD task's CPUID instructions tell of a Ryzen
 * that may run with Virtualization-Based Security. Throws std::runtime_error when they are not
 * found.
 */
void UseFakeProcessor();
