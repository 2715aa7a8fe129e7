/** What a program or library tells of itself in its version resource. */
#pragma once

#include <optional>
#include <string>

namespace zorvane {

struct FileVersion {
    /** "1.0.0", with a fourth number where that is not 0. */
    std::string number;
    /** UTF-8, in the file's first language; empty where there is none. */
    std::string description;
};

/** Nothing where there is no such file, or it tells no version. Runs none of the file's code. */
std::optional<FileVersion> ReadFileVersion(const std::wstring& path);

}  // namespace zorvane
