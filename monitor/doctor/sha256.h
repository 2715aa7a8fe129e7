#pragma once

#include <optional>
#include <string>

namespace zorvane {

/** SHA-256 of a file in lower-case hexadecimal; nothing where it cannot be read. */
std::optional<std::string> FileSha256(const std::wstring& path);

}  // namespace zorvane
