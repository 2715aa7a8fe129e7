/** The table that scripts/bench prints. */
#pragma once

#include <string>
#include <vector>

#include "tests/support/callcounts.h"

/** One line of the table. Samples are seconds for one of what the row is about. */
struct Row {
    std::string name;
    std::vector<double> own;
    /** The bare calls that the same job needs; empty: there is nothing bare to compare with. */
    std::vector<double> floor;
    /** Other people's program for the same job; empty: there is none. */
    std::vector<double> peer;
    /** The highest ratio to the floor that is meant to be; 0: none. */
    double goal = 0;
    /** Counts beside the times, in words. */
    std::string counts{};
};

void PrintHeader();
void PrintRow(const Row& row);

/** "31 calls, 2 allocations" of `times` runs. */
std::string CountsText(const CallsByName& calls, unsigned times);
