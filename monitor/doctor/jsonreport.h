#pragma once

#include <string>
#include <vector>

#include "monitor/doctor/verdict.h"

namespace zorvane {

/** The version of the JSON form; rises when a key changes its meaning or goes. */
inline constexpr int kDoctorSchema = 1;

/** One JSON object over several lines, ended by a line end. docs/doctor.md has its keys. */
std::string DoctorJson(const MachineFacts& facts, const Findings& findings,
                       const std::vector<Verdict>& verdicts);

}  // namespace zorvane
