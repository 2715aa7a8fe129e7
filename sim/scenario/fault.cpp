#include "sim/scenario/fault.h"

std::optional<Outcome> CFault::Read(double seconds) {
    const double position = m_countsCalls ? m_calls : seconds;
    ++m_calls;
    if (!m_span.Contains(position)) {
        return std::nullopt;
    }
    return m_outcome;
}

CFault ReadFault(const CJsonPlace& place) {
    if (!place.Has("result")) {
        place.Fail("an object with \"result\"");
    }
    const bool countsCalls = place.Has("afterCalls") || place.Has("forCalls");
    if (countsCalls && (place.Has("afterSeconds") || place.Has("forSeconds"))) {
        place.Complain("a fault lasts a number of calls or of seconds, not a mixture of both");
    }
    Outcome outcome;
    FaultSpan span;
    const auto readAfterCalls = [&](const CJsonPlace& value) { span.after = value.Unsigned(); };
    const auto readForCalls = [&](const CJsonPlace& value) { span.length = value.Unsigned(); };
    place.ReadMembers({
        {"result", [&](const CJsonPlace& value) { outcome = ReadOutcome(value); }},
        {"afterCalls", readAfterCalls},
        {"forCalls", readForCalls},
        {"afterSeconds", [&](const CJsonPlace& value) { span.after = value.PositiveNumber(); }},
        {"forSeconds", [&](const CJsonPlace& value) { span.length = value.PositiveNumber(); }},
    });
    return countsCalls ? CFault::OfCalls(outcome, span) : CFault::OfSeconds(outcome, span);
}
