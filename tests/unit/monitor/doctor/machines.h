/** Machines for the checks, as plain values. */
#pragma once

#include "monitor/doctor/facts.h"

namespace zorvane {

/** A PC on which everything is read and every check passes. */
MachineFacts HealthyMachine();

/** What a line of the log means, without the rest. */
Explanation Meaning(const std::string& id, const std::string& text, const std::string& remedy = "");

}  // namespace zorvane
