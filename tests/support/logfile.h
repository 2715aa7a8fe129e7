/** Reading log files. */
#pragma once

#include <string>
#include <vector>

/** The lines of a text whose lines end with CR LF; what follows the last line end is left out. */
std::vector<std::string> SplitLines(const std::string& text);

/** Of log lines those of log sites, as "[source] message" without stamp and line number. */
std::vector<std::string> SiteMessages(const std::vector<std::string>& lines);
