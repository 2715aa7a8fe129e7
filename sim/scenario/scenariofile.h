/** Finding and loading the scenario of this process. */
#pragma once

#include <filesystem>

#include "sim/scenario/scenario.h"

/** The file that ZORVANE_SIM_SCENARIO names, else scenario.json in this module's folder. */
std::filesystem::path ScenarioPath();

/** Throws CScenarioError that names the file and the place in it. */
Scenario LoadScenario(const std::filesystem::path& path);

/**
 * The scenario of this module, loaded at the first call and kept. Null when it cannot be used: the
 * reason was then written once to standard error and, as "error: <reason>", to the call log.
 */
Scenario* CurrentScenario();
