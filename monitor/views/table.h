/** Readings as a table for people. */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "monitor/model/machinemodel.h"
#include "monitor/terminal/styledtext.h"

namespace zorvane {

/** A width or a height that no table reaches. */
constexpr size_t kAnyWidth = static_cast<size_t>(-1);

/** The room that a table has. */
struct TableSpace {
    size_t columns = kAnyWidth;
    size_t rows = kAnyWidth;
    /** Whether the last minute is shown, where there are rows for all of it. */
    bool hasHistory = false;
};

/**
 * The lines of the table: the worker, one line for each GPU, the CPU temperature, why something is
 * missing and what to do about it, and the last minute. What does not fit is shortened or left out,
 * the least telling first. GPUs that have no row are counted in the last line, which has the CPU
 * temperature.
 */
StyledLines RenderStyledTable(const CMachineModel& model, const TableSpace& space);

/** The text of the table without its history, at most `width` cells wide. */
std::vector<std::string> RenderTable(const CMachineModel& model, size_t width);

}  // namespace zorvane
