/** Reading the values of a scenario from JSON; each throws CScenarioError for other forms. */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sim/scenario/jsonplace.h"
#include "sim/scenario/movingvalue.h"

/** A number, or an object with "perRead", "steps" or "base". */
CMovingValue ReadMovingValue(const CJsonPlace& place);

/** As ReadMovingValue; null is nothing. */
std::optional<CMovingValue> ReadOptionalValue(const CJsonPlace& place);

/** A text without NUL characters; null is nothing. */
std::optional<std::string> ReadOptionalText(const CJsonPlace& place);

/**
 * {"perRead": [...]} or {"steps": [...], "stepSeconds": s}, whose items `readItem` reads; nothing
 * when `place` is none of the two.
 */
template <class Value>
std::optional<CSequence<Value>> ReadSequence(const CJsonPlace& place,
                                             Value (*readItem)(const CJsonPlace&)) {
    std::vector<Value> values;
    const auto readItems = [&](const CJsonPlace& list) {
        for (const CJsonPlace& item : list.NonEmptyItems()) {
            values.push_back(readItem(item));
        }
    };
    if (place.Has("perRead")) {
        place.ReadMembers({{"perRead", readItems}});
        return CSequence<Value>::PerRead(std::move(values));
    }
    if (!place.Has("steps")) {
        return std::nullopt;
    }
    double stepSeconds = 1;
    place.ReadMembers({
        {"steps", readItems},
        {"stepSeconds", [&](const CJsonPlace& value) { stepSeconds = value.PositiveNumber(); }},
    });
    return CSequence<Value>::Steps(std::move(values), stepSeconds);
}
