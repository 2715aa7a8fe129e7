/** Text on a standard handle: a console, a pipe or a file. */
#pragma once

#include <windows.h>

#include <optional>
#include <string_view>

#include "base/callerror.h"

namespace zorvane {

bool IsConsole(HANDLE handle);

/**
 * Writes all of `text`, which is UTF-8: in UTF-16 to a console, whose code page then does not
 * matter, and byte for byte to everything else. The error if there is one.
 */
std::optional<CallError> WriteText(HANDLE handle, std::string_view text);

}  // namespace zorvane
