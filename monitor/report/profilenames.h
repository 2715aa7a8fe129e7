#pragma once

#include <string>
#include <vector>

namespace zorvane {

/**
 * The names of the users' folders in the paths in a text, UTF-8: "ann" of "C:\Users\ann\a.log". A
 * report is often made on another computer than its recording, so Windows cannot be asked for them.
 */
std::vector<std::string> ProfileNamesIn(const std::string& text);

}  // namespace zorvane
