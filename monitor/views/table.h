/** Readings as a table for people. */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "monitor/model/machinemodel.h"

namespace zorvane {

/** A width that no table reaches. */
constexpr size_t kAnyWidth = static_cast<size_t>(-1);

/**
 * The lines of the table, in UTF-8 and without line ends: the worker, one line for each GPU, the
 * CPU temperature, and why something is missing and what to do about it. Columns that do not fit
 * into `width` characters are left out, the least telling first; lines that are still too long are
 * cut.
 */
std::vector<std::string> RenderTable(const CMachineModel& model, size_t width);

/** The text with blanks behind it, `width` characters long at least. */
std::string Padded(const std::string& text, size_t width);

}  // namespace zorvane
