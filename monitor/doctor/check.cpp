#include "monitor/doctor/check.h"

#include <algorithm>
#include <utility>

#include "monitor/doctor/checkgroups.h"

namespace zorvane {

std::span<const Check> Checks() {
    static const std::vector<Check> kChecks = [] {
        std::vector<Check> checks;
        for (const auto group :
             {FileChecks(), LogChecks(), GpuChecks(), CpuChecks(), DriverChecks(), RunChecks()}) {
            checks.insert(checks.end(), group.begin(), group.end());
        }
        return checks;
    }();
    return kChecks;
}

Findings Decide(const MachineFacts& facts, const std::vector<std::string>& only) {
    Findings findings;
    for (const Check& check : Checks()) {
        if (only.empty() || std::find(only.begin(), only.end(), check.id) != only.end()) {
            findings.push_back({&check, check.decide(facts)});
        }
    }
    return findings;
}

const char* ResultName(CheckResult result) {
    switch (result) {
        case CheckResult::kPass:
            return "PASS";
        case CheckResult::kWarn:
            return "WARN";
        case CheckResult::kFail:
            return "FAIL";
        case CheckResult::kSkip:
            break;
    }
    return "SKIP";
}

Finding Pass(std::string seen) { return {CheckResult::kPass, std::move(seen), "", {}}; }

Finding Warn(std::string seen, std::string remedy) {
    return {CheckResult::kWarn, std::move(seen), std::move(remedy), {}};
}

Finding Fail(Blocks blocks, std::string seen, std::string remedy) {
    return {CheckResult::kFail, std::move(seen), std::move(remedy), blocks};
}

Finding Skip(std::string seen) { return {CheckResult::kSkip, std::move(seen), "", {}}; }

}  // namespace zorvane
