/** Running faultedworker, many times, side by side. */
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/campaigns/faults/faultruns.h"

/** Figures of a campaign. */
struct FaultFigures {
    size_t runs = 0;
    size_t functions = 0;
    uint64_t injected = 0;
    /** Runs in which the call that was to fail did not come. */
    size_t notReached = 0;
    size_t crashes = 0;
    size_t hangs = 0;
    /** All that was found, crashes and hangs included. */
    size_t findings = 0;
};

/** Lines for the reader of a campaign, one call each; any thread, one at a time. */
using Reporter = std::function<void(const std::string& line)>;

/**
 * Runs once without faults for each ending, plans, and runs `most` of the plan, spread evenly (0:
 * all), `jobs` at a time. Every finding is reported with the words that repeat it. Throws
 * std::runtime_error when the run without faults is not in order.
 */
FaultFigures RunFaultCampaign(size_t most, unsigned jobs, const Reporter& report);

/** "1,834 runs, ..." */
std::string Summary(const FaultFigures& figures);
