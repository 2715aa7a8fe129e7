#include "monitor/metrics/prometheustext.h"

#include <fmt/format.h>

#include "monitor/metrics/metrics.h"

namespace zorvane {
namespace {

std::string Escaped(const std::string& value) {
    std::string escaped;
    for (const char c : value) {
        if (c == '\\' || c == '"') {
            escaped += '\\';
        }
        escaped += c == '\n' ? "\\n" : std::string(1, c);
    }
    return escaped;
}

std::string LabelText(const MetricLabels& labels) {
    std::string text;
    for (const auto& [name, value] : labels) {
        text += fmt::format("{}{}=\"{}\"", text.empty() ? "" : ",", name, Escaped(value));
    }
    return text;
}

// `described` is the name in the lines about the family, which not every format has whole.
std::string FamilyText(const MetricFamily& family, const std::string& described) {
    std::string text =
        fmt::format("# HELP {} {}\n# TYPE {} {}\n", described, family.help, described,
                    family.type == MetricType::kCounter ? "counter" : "gauge");
    for (const MetricSample& sample : family.samples) {
        text += fmt::format("{}{{{}}} {}\n", family.name, LabelText(sample.labels), sample.value);
    }
    return text;
}

std::string AllText(const CMachineModel& model,
                    std::string (*describedName)(const MetricFamily& family)) {
    std::string text;
    for (const MetricFamily& family : MetricsOf(model)) {
        if (!family.samples.empty()) {
            text += FamilyText(family, describedName(family));
        }
    }
    return text;
}

}  // namespace

std::string PrometheusText(const CMachineModel& model) {
    return AllText(model, [](const MetricFamily& family) { return family.name; });
}

std::string OpenMetricsText(const CMachineModel& model) {
    // There the ending belongs to a counter's samples and not to its name.
    return AllText(model,
                   [](const MetricFamily& family) {
                       constexpr std::string_view kEnding = "_total";
                       const bool isCounter = family.type == MetricType::kCounter;
                       return isCounter ? family.name.substr(0, family.name.size() - kEnding.size())
                                        : family.name;
                   }) +
           "# EOF\n";
}

}  // namespace zorvane
