/** Metrics in the text format of Prometheus. */
#pragma once

#include <string>

#include "monitor/model/machinemodel.h"

namespace zorvane {

/**
 * The metrics of the model in text format 0.0.4: UTF-8, lines that end with LF, no time stamps.
 * Metrics without a sample are left out.
 */
std::string PrometheusText(const CMachineModel& model);

/** The same in OpenMetrics 1.0, for scrapers that ask for it. */
std::string OpenMetricsText(const CMachineModel& model);

}  // namespace zorvane
