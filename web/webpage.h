/** The page, as the build has put it together from web/ and dygraphs. */
#pragma once

#include <string_view>

namespace zorvane {

/** The page as it is served: it refers to the other three. */
extern const std::string_view kWebPage;
extern const std::string_view kWebStyle;
/** The library that draws the charts. */
extern const std::string_view kWebCharts;
extern const std::string_view kWebScript;

/** What stands before and behind the data in a report, which has all of the page inside. */
extern const std::string_view kReportHead;
extern const std::string_view kReportTail;

}  // namespace zorvane
