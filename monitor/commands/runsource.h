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

/**
 * Runs a source to its end with these views. The exit code; a failure to begin is said on standard
 * error. Once a process.
 */
int RunViews(ISource& source, const std::vector<IView*>& views, INotes& notes,
             const RunLimits& limits, CKeys* keys = nullptr);

}  // namespace zorvane
