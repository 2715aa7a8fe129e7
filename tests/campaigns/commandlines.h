/** Random command lines against a model of the worker's rules. */
#pragma once

#include "tests/campaigns/faults/faultcampaign.h"

/** Figures of a campaign. */
struct LineFigures {
    size_t lines = 0;
    size_t words = 0;
    size_t findings = 0;
};

/**
 * Parses `lines` random lines with the worker's parser and with a second one, written from the
 * rules alone; Windows splits the words for both. `seed` repeats a campaign.
 */
LineFigures RunCommandLines(size_t lines, unsigned seed, const Reporter& report);

/** "1000000 lines, ..." */
std::string Summary(const LineFigures& figures);
