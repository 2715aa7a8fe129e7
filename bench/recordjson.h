/** The floor of a line of JSON: one call of printf's family. */
#pragma once

#include <cstddef>

#include "zorvane/wire.h"

/** Writes the line that zorvanemon writes for a dynamic record; answers its length. */
size_t RecordJson(const NvmlGpuRecord& record, char* line, size_t room);
