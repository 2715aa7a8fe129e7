/** Lines of the worker's log file. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zorvane {

/** Local time without a year, as the log has it. */
struct LogTime {
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
};

/**
 * One line, taken apart. The texts hold whatever bytes the file has, in the ANSI code page of the
 * PC that wrote them: convert them, and make control characters harmless, before showing them.
 */
struct LogLine {
    LogTime time;
    uint32_t processId = 0;
    uint32_t threadId = 0;
    std::string tag;
    /** "I"; empty for a marker line. */
    std::string level;
    /** Line number of the log site; none for a marker line. */
    std::optional<uint32_t> siteLine;
    /** Empty for a marker line. */
    std::string source;
    std::string message;
};

/**
 * One line of the file, its line end included or not. Nothing when it is not a whole line of the
 * log; a value with a line break in it (a command line, for instance) leaves such lines.
 */
std::optional<LogLine> ParseLogLine(std::string_view line);

/** All lines of `log`; what is not a line, and an unfinished last line, are left out. */
std::vector<LogLine> ParseLog(std::string_view log);

/** True for the first line of a process's run. */
bool IsRunStart(const LogLine& line);

/**
 * The lines of a process's latest run, in order: from the last "-------log start" with that process
 * id on, as ids are used again. Empty when the log has none of it.
 */
std::vector<LogLine> LatestRun(const std::vector<LogLine>& lines, uint32_t processId);

}  // namespace zorvane
