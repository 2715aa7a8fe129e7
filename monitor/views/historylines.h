/** The last minute as lines of blocks. */
#pragma once

#include <cstddef>
#include <string>

#include "monitor/model/machinemodel.h"
#include "monitor/terminal/styledtext.h"

namespace zorvane {

/**
 * The newest values that fit into `cells`, a block each, higher for higher values: `scale` is from
 * the lowest block to the highest. Blanks where there is no value. As wide as `cells`, the newest
 * value at the right end.
 */
std::string Blocks(const CLastMinute& history, LowestHighest scale, size_t cells);

/**
 * A heading, then a line for each GPU and for the CPU: blocks, the lowest and the highest value.
 * Temperatures; where `width` cells are enough, utilisations beside them. Empty where no source has
 * a history, or the width is too small.
 */
StyledLines HistoryLines(const CMachineModel& model, size_t width);

}  // namespace zorvane
