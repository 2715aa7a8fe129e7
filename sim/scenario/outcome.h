/** How a simulated call turns out when a scenario does not let it do its work. */
#pragma once

#include <cstdint>
#include <functional>
#include <limits>

#include "sim/scenario/jsonplace.h"

/** Hangs first, then crashes or returns. */
struct Outcome {
    /** The code that the call returns; 0: it does its work. */
    int32_t result = 0;
    /** How long the call hangs before that. */
    double hangSeconds = 0;
    /** An access violation in place of the return. */
    bool crash = false;

    bool DoesWork() const { return result == 0 && hangSeconds == 0 && !crash; }
};

/** `hangSeconds` of a call that never returns. */
inline constexpr double kHangForGood = std::numeric_limits<double>::infinity();

/**
 * Hangs and crashes as `outcome` says, on the calling thread, which should hold no lock. `log` is
 * told "hang" or "crash" before each, because nobody may come back to tell.
 */
void Disturb(const Outcome& outcome, const std::function<void(const char*)>& log);

/**
 * A whole number, "hang", {"hang": seconds}, {"hang": seconds, "result": number} or "crash". Throws
 * CScenarioError for anything else.
 */
Outcome ReadOutcome(const CJsonPlace& place);

/** As ReadOutcome, for a function that returns no code: the only number allowed is 0. */
Outcome ReadOutcomeWithoutCode(const CJsonPlace& place);
