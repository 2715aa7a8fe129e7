#include "monitor/report/historyreport.h"

#include "monitor/json/readjsonline.h"
#include "monitor/report/reportbuilder.h"

namespace zorvane {

std::string HistoryReport(const std::vector<std::shared_ptr<const std::string>>& lines, bool mask,
                          const std::string& doctor) {
    CReportBuilder builder(mask);
    for (const auto& line : lines) {
        const auto read = ReadJsonLine(*line);
        if (const auto* event = std::get_if<Event>(&read)) {
            builder.Add(*event);
        }
    }
    if (!doctor.empty()) {
        builder.AddDoctor(doctor);
    }
    return builder.Page(ReadMoment().utc);
}

}  // namespace zorvane
