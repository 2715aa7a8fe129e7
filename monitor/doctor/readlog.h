/** From the text of the worker's log to what doctor wants to know. Pure. */
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/reasons/logline.h"
#include "monitor/doctor/facts.h"

namespace zorvane {

/**
 * The latest run in the log; nothing where it has no line. `toUtf8` converts a line from the code
 * page of the file; `isRunning` tells whether a worker with this process id runs now. Equal markers
 * in a row become one line.
 */
std::optional<LastRun> FindLastRun(const std::vector<LogLine>& lines,
                                   const std::function<bool(uint32_t)>& isRunning,
                                   const std::function<std::string(const std::string&)>& toUtf8);

/** The oldest run that tells why it had no CPU temperature, other than by the switch. */
std::optional<SwitchReason> FindSwitchReason(const std::vector<LogLine>& lines);

/** The process ids in the log, each once. */
std::vector<uint32_t> LogProcesses(const std::vector<LogLine>& lines);

}  // namespace zorvane
