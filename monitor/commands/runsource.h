#pragma once

#include "monitor/options/displayoptions.h"
#include "monitor/run/run.h"
#include "monitor/sources/source.h"

namespace zorvane {

/**
 * Runs a source to its end as the options say, and with `further` views beside
 * it. The exit code; failures to begin are said on standard error. Once a process.
 */
int RunSource(ISource& source, const CDisplayOptions& options, const RunLimits& limits,
              const std::vector<IView*>& further = {});

/**
 * Runs a source to its end with these views. The exit code; a failure to begin is said on standard
 * error. Once a process.
 */
int RunViews(ISource& source, const std::vector<IView*>& views, INotes& notes,
             const RunLimits& limits, CKeys* keys = nullptr);

}  // namespace zorvane
