#pragma once

#include <string>

namespace zorvane {

/**
 * Why a service cannot use the path of an option, empty if it can: it has another current folder
 * than the command line that installs it. An empty path is that of no file.
 */
std::string FullPathObstacle(const std::string& option, const std::wstring& path);

}  // namespace zorvane
