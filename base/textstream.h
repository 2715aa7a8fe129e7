/** Text on a standard handle: a console, a pipe or a file. */
#pragma once

#include <windows.h>

#include <optional>
#include <string_view>

#include "base/callerror.h"

namespace zorvane {

bool IsConsole(HANDLE handle);

/**
 * Writes all of `text`, which is UTF-8: as UTF-16 to a console, so that its code page does not
 * matter, and unchanged to anything else. Returns the error if it fails.
 */
std::optional<CallError> WriteText(HANDLE handle, std::string_view text);

}  // namespace zorvane
