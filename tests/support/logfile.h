/** Reading log files. */
#pragma once

#include <string>
#include <vector>

/** The CR LF terminated lines of a text; an unterminated last line is left out. */
std::vector<std::string> SplitLines(const std::string& text);

/** The lines of log sites, reduced to "[source] message"; marker lines are left out. */
std::vector<std::string> SiteMessages(const std::vector<std::string>& lines);
