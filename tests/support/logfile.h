/** Reading log files, and writing lines like those of a worker. */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/** The CR LF terminated lines of a text; an unterminated last line is left out. */
std::vector<std::string> SplitLines(const std::string& text);

/** The lines of log sites, reduced to "[source] message"; marker lines are left out. */
std::vector<std::string> SiteMessages(const std::vector<std::string>& lines);

/** The CR LF terminated line in which process `processId` logs `message`. */
std::string LoggedLine(uint32_t processId, const std::string& message);
