#include "monitor/doctor/verdict.h"

#include <algorithm>

namespace zorvane {
namespace {

bool IsBlocked(const Finding& finding, Blocks what) {
    return finding.result == CheckResult::kFail &&
           (finding.blocks == what || finding.blocks == Blocks::kBoth);
}

void AddOnce(std::vector<std::string>& texts, const std::string& text) {
    if (std::find(texts.begin(), texts.end(), text) == texts.end()) {
        texts.push_back(text);
    }
}

Verdict JudgeOne(const Findings& findings, const char* what, const char* name, Blocks blocks) {
    Verdict verdict{what, name, Reporting::kNow, {}, {}};
    for (const CheckedFinding& checked : findings) {
        if (!IsBlocked(checked.finding, blocks)) {
            continue;
        }
        if (checked.finding.remedy.empty()) {
            AddOnce(verdict.obstacles, checked.finding.seen);
        } else {
            AddOnce(verdict.steps, checked.finding.remedy);
        }
    }
    if (!verdict.obstacles.empty()) {
        verdict.reporting = Reporting::kNever;
        verdict.steps.clear();
    } else if (!verdict.steps.empty()) {
        verdict.reporting = Reporting::kAfterSteps;
    }
    return verdict;
}

}  // namespace

std::vector<Verdict> Judge(const Findings& findings) {
    return {JudgeOne(findings, "gpu", "NVIDIA GPUs", Blocks::kGpu),
            JudgeOne(findings, "cpu", "AMD CPU temperature", Blocks::kCpu)};
}

bool CanReportSomething(const std::vector<Verdict>& verdicts) {
    return std::any_of(verdicts.begin(), verdicts.end(),
                       [](const Verdict& verdict) { return verdict.reporting == Reporting::kNow; });
}

}  // namespace zorvane
