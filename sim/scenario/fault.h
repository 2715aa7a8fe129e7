/** A time in the life of a simulated device during which all its calls turn out the same. */
#pragma once

#include <cstdint>
#include <optional>

#include "sim/scenario/outcome.h"

/** Where a span of calls or of time begins and how long it is. */
struct FaultSpan {
    double after = 0;
    /** Absent: to the end. */
    std::optional<double> length;

    bool Contains(double position) const {
        return position >= after && (!length || position < after + *length);
    }
};

/** A fault; counts the calls of its device. */
class CFault {
  public:
    /** A span of calls: `after` of them work. */
    static CFault OfCalls(const Outcome& outcome, const FaultSpan& span) {
        return {outcome, span, true};
    }
    /** A span of the machine's time, in seconds. */
    static CFault OfSeconds(const Outcome& outcome, const FaultSpan& span) {
        return {outcome, span, false};
    }

    /** How a call at `seconds` turns out; nothing outside the fault. Counts as one call. */
    std::optional<Outcome> Read(double seconds);

  private:
    CFault(const Outcome& outcome, const FaultSpan& span, bool countsCalls)
        : m_outcome(outcome), m_span(span), m_countsCalls(countsCalls) {}

    Outcome m_outcome;
    FaultSpan m_span;
    bool m_countsCalls;
    double m_calls = 0;
};

/**
 * An object with "result" and at most one of "afterCalls" and "afterSeconds", with "forCalls" or
 * "forSeconds" to match. Throws CScenarioError for anything else.
 */
CFault ReadFault(const CJsonPlace& place);
