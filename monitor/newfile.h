#pragma once

#include <string>
#include <variant>

#include "base/handle.h"

namespace zorvane {

/**
 * A new file for writing, at a path in UTF-8; one that exists is replaced with `overwrite` only. On
 * failure the sentence that says why. Others may read it meanwhile.
 */
std::variant<CUniqueHandle, std::string> CreateNewFile(const std::string& path, bool overwrite);

}  // namespace zorvane
