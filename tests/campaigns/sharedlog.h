/** Processes that write one log file at once. */
#pragma once

#include "tests/campaigns/faults/faultcampaign.h"

/** Figures of a campaign. */
struct LogFigures {
    size_t processes = 0;
    size_t lines = 0;
    /** Processes that were ended while they held the file's mutex. */
    size_t killed = 0;
    size_t findings = 0;
};

/**
 * Eight processes write 1,000 lines each, at once, `rounds` times over; in each round another one
 * is ended while it holds the mutex. At the end every line is there, whole, and in its process's
 * order.
 */
LogFigures RunSharedLog(size_t rounds, const Reporter& report);

/** "8 processes, 800,000 lines, ..." */
std::string Summary(const LogFigures& figures);
