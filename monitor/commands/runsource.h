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

}  // namespace zorvane
