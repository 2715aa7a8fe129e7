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

}  // namespace

std::string PrometheusText(const CMachineModel& model) {
    std::string text;
    for (const MetricFamily& family : MetricsOf(model)) {
        if (family.samples.empty()) {
            continue;
        }
        text += fmt::format("# HELP {} {}\n# TYPE {} {}\n", family.name, family.help, family.name,
                            family.type == MetricType::kCounter ? "counter" : "gauge");
        for (const MetricSample& sample : family.samples) {
            text +=
                fmt::format("{}{{{}}} {}\n", family.name, LabelText(sample.labels), sample.value);
        }
    }
    return text;
}

}  // namespace zorvane
