#include "sim/scenario/results.h"

#include <algorithm>

#include "sim/scenario/readvalue.h"

namespace {

std::string_view WithoutVersion(std::string_view function) {
    return function.substr(0, function.rfind("_v"));
}

const ResultFunction& FindFunction(std::span<const ResultFunction> functions,
                                   const std::string& name, const CJsonPlace& place) {
    const auto found = std::find_if(functions.begin(), functions.end(),
                                    [&](const auto& function) { return function.name == name; });
    if (found != functions.end()) {
        return *found;
    }
    std::string known;
    for (const ResultFunction& function : functions) {
        known += (known.empty() ? "" : ", ") + std::string(function.name);
    }
    place.Complain("no result can be set here for a function of this name, expected one of: " +
                   known);
}

CSequence<Outcome> ReadOutcomes(const CJsonPlace& place, const ResultFunction& function) {
    const auto read = function.returnsCode ? &ReadOutcome : &ReadOutcomeWithoutCode;
    if (std::optional<CSequence<Outcome>> sequence = ReadSequence(place, read)) {
        return *std::move(sequence);
    }
    return CSequence<Outcome>(read(place));
}

CResults::Rule ReadRule(const CJsonPlace& place, const ResultFunction& function) {
    if (!place.IsArray()) {
        return {ReadOutcomes(place, function)};
    }
    if (function.kinds == 1) {
        place.Complain(
            "a list of results is for functions that take a clock type; for one result "
            "after the other write {\"perRead\": [...]}");
    }
    CResults::Rule rule;
    for (const CJsonPlace& item : place.Items(function.kinds)) {
        rule.push_back(ReadOutcomes(item, function));
    }
    return rule;
}

}  // namespace

void CResults::Set(const std::string& function, Rule rule) { m_rules[function] = std::move(rule); }

std::optional<Outcome> CResults::Read(std::string_view function, size_t kind, double seconds) {
    auto found = m_rules.find(function);
    if (found == m_rules.end()) {
        found = m_rules.find(WithoutVersion(function));
    }
    if (found == m_rules.end()) {
        return std::nullopt;
    }
    Rule& rule = found->second;
    return rule[rule.size() > 1 ? kind : 0].Read(seconds);
}

CResults ReadResults(const CJsonPlace& place, std::span<const ResultFunction> functions) {
    CResults results;
    place.ForEachMember([&](const std::string& name, const CJsonPlace& value) {
        results.Set(name, ReadRule(value, FindFunction(functions, name, value)));
    });
    return results;
}
