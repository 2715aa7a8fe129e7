/** The model as metrics, in no particular text form yet. docs/zorvanemon.md lists them. */
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "monitor/model/machinemodel.h"

namespace zorvane {

enum class MetricType { kGauge, kCounter };

/** Names and values; no two samples of a family have the same ones. */
using MetricLabels = std::vector<std::pair<std::string, std::string>>;

struct MetricSample {
    MetricLabels labels;
    double value = 0;
};

/** A metric with all of its samples. */
struct MetricFamily {
    /** As in text format 0.0.4: a counter's ends with _total. */
    std::string name;
    /** One sentence without a full stop, in ASCII. */
    std::string help;
    MetricType type = MetricType::kGauge;
    std::vector<MetricSample> samples;
};

/**
 * All metrics, those without a sample too: what is not known now has none. Every sample has the
 * label "worker", the name of the run's entry.
 */
std::vector<MetricFamily> MetricsOf(const CMachineModel& model);

}  // namespace zorvane
