/** The results that a scenario sets for functions of the simulated libraries. */
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sim/scenario/outcome.h"
#include "sim/scenario/sequence.h"

/** A function for which results can be set. */
struct ResultFunction {
    std::string_view name;
    /** False: it can hang and crash, and that is all. */
    bool returnsCode = true;
    /** More than one: a list may set one result per kind (such as NVML's clock types). */
    size_t kinds = 1;
};

/** Set results by function name. */
class CResults {
  public:
    /** One sequence for all calls, or one per kind of call. */
    using Rule = std::vector<CSequence<Outcome>>;

    void Set(const std::string& function, Rule rule);

    /**
     * How a call of this function turns out: by the rule for exactly this name, else by the one for
     * the name without its "_v2" or "_v3". Nothing when neither is set. Counts as one read.
     */
    std::optional<Outcome> Read(std::string_view function, size_t kind, double seconds);

  private:
    std::map<std::string, Rule, std::less<>> m_rules;
};

/** An object of rules by name; throws CScenarioError for names that are not in `functions`. */
CResults ReadResults(const CJsonPlace& place, std::span<const ResultFunction> functions);
