/** The tables of docs/support.md, made from the table of reasons. */
#pragma once

#include <string>
#include <string_view>

namespace zorvane {

/**
 * The page with every table made anew. A table stands between a line "<!-- reasons: NAME -->" and
 * the next line "<!-- end -->"; the names are those of the concerns (gpu, cpu, driver, worker, log)
 * and of the codes (windows, nvml, state, errno). Throws std::runtime_error for another name, and
 * for a table without an end.
 */
std::string UpdateSupportPage(std::string_view page);

}  // namespace zorvane
