#pragma once

#include <memory>
#include <string>
#include <vector>

namespace zorvane {

/**
 * The report of these JSON lines, see CReportBuilder. `doctor` is what zorvanemon doctor --json
 * writes, or empty. Any thread.
 */
std::string HistoryReport(const std::vector<std::shared_ptr<const std::string>>& lines, bool mask,
                          const std::string& doctor);

}  // namespace zorvane
