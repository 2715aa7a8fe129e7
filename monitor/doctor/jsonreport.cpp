#include "monitor/doctor/jsonreport.h"

#include <nlohmann/json.hpp>

namespace zorvane {
namespace {

using OrderedJson = nlohmann::ordered_json;

const char* Name(Reporting reporting) {
    switch (reporting) {
        case Reporting::kNow:
            return "now";
        case Reporting::kAfterSteps:
            return "after_steps";
        case Reporting::kNever:
            break;
    }
    return "never";
}

OrderedJson OrNull(const std::string& text) {
    return text.empty() ? OrderedJson() : OrderedJson(text);
}

OrderedJson GpuJson(const ProbedGpu& gpu) {
    OrderedJson codes = OrderedJson::object();
    for (const ProbedGpu::Answer& answer : gpu.answers) {
        codes[answer.function] = answer.code;
    }
    return {{"index", gpu.index},
            {"name", OrNull(gpu.name)},
            {"serial", OrNull(gpu.serial)},
            {"codes", codes}};
}

OrderedJson BlocksJson(Blocks blocks) {
    OrderedJson blocked = OrderedJson::array();
    if (blocks == Blocks::kGpu || blocks == Blocks::kBoth) {
        blocked.push_back("gpu");
    }
    if (blocks == Blocks::kCpu || blocks == Blocks::kBoth) {
        blocked.push_back("cpu");
    }
    return blocked;
}

OrderedJson ChecksJson(const Findings& findings) {
    OrderedJson checks = OrderedJson::array();
    for (const auto& [check, finding] : findings) {
        checks.push_back({{"id", check->id},
                          {"group", check->group},
                          {"title", check->title},
                          {"result", ResultName(finding.result)},
                          {"blocks", BlocksJson(finding.blocks)},
                          {"seen", finding.seen},
                          {"do", OrNull(finding.remedy)}});
    }
    return checks;
}

}  // namespace

std::string DoctorJson(const MachineFacts& facts, const Findings& findings,
                       const std::vector<Verdict>& verdicts) {
    OrderedJson report{{"schema", kDoctorSchema},
                       {"time", Rfc3339(facts.now)},
                       {"host", facts.computer},
                       {"tool_version", facts.toolVersion}};
    OrderedJson readings = OrderedJson::array();
    for (const Verdict& verdict : verdicts) {
        readings.push_back({{"what", verdict.what},
                            {"reported", Name(verdict.reporting)},
                            {"steps", verdict.steps},
                            {"obstacles", verdict.obstacles}});
    }
    report["readings"] = readings;
    report["checks"] = ChecksJson(findings);
    OrderedJson gpus = OrderedJson::array();
    if (facts.probe) {
        for (const ProbedGpu& gpu : facts.probe->gpus) {
            gpus.push_back(GpuJson(gpu));
        }
    }
    report["probed_gpus"] = gpus;
    // Text from outside may be anything.
    return report.dump(2, ' ', false, OrderedJson::error_handler_t::replace) + "\n";
}

}  // namespace zorvane
