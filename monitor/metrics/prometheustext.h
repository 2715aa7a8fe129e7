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

}  // namespace zorvane
