/** The parts of a scenario, read from JSON. Each throws CScenarioError for what it cannot use. */
#pragma once

#include <optional>
#include <string>

#include "sim/scenario/jsonplace.h"
#include "sim/scenario/scenario.h"

/** A number, or an object with "perRead", "steps" or "base". */
CMovingValue ReadMovingValue(const CJsonPlace& place);

/** As ReadMovingValue; null is nothing. */
std::optional<CMovingValue> ReadOptionalValue(const CJsonPlace& place);

/** A text without NUL characters; null is nothing. */
std::optional<std::string> ReadOptionalText(const CJsonPlace& place);

/** Result codes by function name; with `ofGpu` only functions that take a device. */
CResults ReadResults(const CJsonPlace& place, bool ofGpu);

Gpu ReadGpu(const CJsonPlace& place);

Cpu ReadCpu(const CJsonPlace& place);
