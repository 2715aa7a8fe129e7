#pragma once

#include "monitor/run/run.h"
#include "monitor/sources/source.h"
#include "monitor/views/viewoptions.h"

namespace zorvane {

/**
 * Runs a source to its end with the display that the options name, and with `further` views beside
 * it. The exit code; failures to begin are said on standard error. Once a process.
 */
int RunSource(ISource& source, const ViewOptions& options, const RunLimits& limits,
              const std::vector<IView*>& further = {});

}  // namespace zorvane
