/** What the server has, by the target of a request. */
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace zorvane {

enum class Place {
    kPage,
    kStyle,
    kCharts,
    kScript,
    kEvents,
    kHistory,
    kRecording,
    kReport,
    kMetrics,
    kHealth,
};

struct Route {
    Place place = Place::kPage;
    /** `seconds` of /history; empty: all there is. */
    std::optional<std::chrono::milliseconds> seconds;
    /** `after` of /events: the id of the last event that the reader has. */
    std::string after;
    /** `mask` of /report: without serials and the computer's name. */
    bool mask = false;
};

/** The status with which to refuse: 404 for a path, 400 for a query that is not known. */
using RouteOrStatus = std::variant<Route, unsigned>;

RouteOrStatus ParseTarget(std::string_view target);

}  // namespace zorvane
