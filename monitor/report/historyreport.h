#pragma once

#include <memory>
#include <string>
#include <vector>

namespace zorvane {

/** The report of these JSON lines, see CReportBuilder. Any thread. */
std::string HistoryReport(const std::vector<std::shared_ptr<const std::string>>& lines, bool mask);

}  // namespace zorvane
