/** Campaigns of many runs of faultedworker without faults in its calls. */
#pragma once

#include "tests/campaigns/faults/faultcampaign.h"

/** Figures of a campaign of runs. */
struct RunFigures {
    size_t runs = 0;
    size_t crashes = 0;
    size_t hangs = 0;
    size_t findings = 0;
};

/**
 * Runs the worker `rounds` times and ends each at a random moment in one of four ways. `seed`
 * repeats a campaign.
 */
RunFigures RunStarts(size_t rounds, unsigned seed, unsigned jobs, const Reporter& report);

/**
 * Runs the worker `rounds` times while another process sends random messages to its window, 400 in
 * each. `seed` repeats a campaign.
 */
RunFigures RunStrangers(size_t rounds, unsigned seed, unsigned jobs, const Reporter& report);

/**
 * Runs the worker beside vendor libraries that answer badly, `most` of them (0: all), spread
 * evenly: each function with each code, counts and texts that lie, exports that are missing,
 * crashes.
 */
RunFigures RunNeighbours(size_t most, unsigned jobs, const Reporter& report);

/**
 * Runs one worker for so many cycles, with the pause cut short: the memory that it holds stays what
 * it was, and the handles grow by the one of each flush of its log.
 */
RunFigures RunSoak(size_t cycles, const Reporter& report);

/** "12 runs; 0 crashes, 0 hangs, 0 findings" */
std::string Summary(const RunFigures& figures);
