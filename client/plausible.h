/** Numbers that no sensor means. */
#pragma once

#include <optional>
#include <vector>

#include "client/decode.h"

namespace zorvane {

/**
 * Takes numbers that nobody can believe out of a reading: a driver that fails halfway, or another
 * than the one expected, leaves 4294967295 or rubbish in a field and reports success. Such a field
 * becomes std::nullopt, as if it had not been read. Gives an error that names every field and its
 * number, or nothing if all are plausible. The limits stand in the source, in one table.
 */
std::optional<PayloadError> RemoveImplausible(GpuReading& reading);

/** The same for a static record and the readings in it. */
std::optional<PayloadError> RemoveImplausible(GpuStatic& fixed);

/** The error if this is no temperature that a CPU can have; then it is no reading. */
std::optional<PayloadError> CheckPlausible(const CpuTemperature& temperature);

}  // namespace zorvane
