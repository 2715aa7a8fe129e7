#include "monitor/options/fullpath.h"

#include <fmt/format.h>

#include <algorithm>

#include "base/modulepath.h"

namespace zorvane {

// A service begins in the system's folder, where nobody looks for a file.
std::string FullPathObstacle(const std::string& option, const std::wstring& path) {
    std::wstring given = path;
    std::replace(given.begin(), given.end(), L'/', L'\\');
    return given.empty() || FullPath(given) == given
               ? ""
               : fmt::format("a service needs the full path of {}", option);
}

}  // namespace zorvane
