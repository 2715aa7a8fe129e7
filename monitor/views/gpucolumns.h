/** The GPUs of a table. */
#pragma once

#include <cstddef>
#include <string>

#include "monitor/model/machinemodel.h"
#include "monitor/terminal/styledtext.h"

namespace zorvane {

/** What stands for a value that could not be read. */
inline constexpr char kNotRead[] = "n/a";

/** Number of lines of GpuLines before the first GPU: headings and units. */
inline constexpr size_t kHeadingLines = 2;

/**
 * Headings, then a line for each GPU. Where that is wider than `width` cells, first the bus ids
 * become shorter, then the names, then columns are left out, the least telling first; what is left
 * may still be too wide. A value over its threshold has a '!' before it.
 */
StyledLines GpuLines(const CMachineModel& model, size_t width);

/** What tells a GPU apart: its bus id, without a domain of 0 if `isShort`, or its index. */
std::string GpuLabel(const GpuRow& row, bool isShort);

}  // namespace zorvane
