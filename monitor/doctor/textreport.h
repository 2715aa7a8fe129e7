#pragma once

#include <string>
#include <vector>

#include "monitor/doctor/verdict.h"

namespace zorvane {

/**
 * The findings for people, in lines of at most about 100 characters. Without verdicts, as where
 * only some checks were asked for, only the checks.
 */
std::string TextReport(const Findings& findings, const std::vector<Verdict>& verdicts);

}  // namespace zorvane
