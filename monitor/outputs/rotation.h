/** Older files beside the one that is written. */
#pragma once

#include <optional>
#include <string>

#include "base/callerror.h"

namespace zorvane {

/** The name of a file's older part, 1 being the newest: "C:\x\today.2.csv". */
std::wstring NumberedPath(const std::wstring& path, unsigned number);

/**
 * Makes the file its own part 1, part 1 part 2 and so on; part `keep`, from 1, is removed. If that
 * fails on the way, the file is where it was, and nothing but part `keep` is lost.
 */
[[nodiscard]] std::optional<CallError> Rotate(const std::wstring& path, unsigned keep);

}  // namespace zorvane
