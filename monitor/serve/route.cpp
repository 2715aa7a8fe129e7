#include "monitor/serve/route.h"

#include <algorithm>

#include "monitor/options/values.h"

namespace zorvane {
namespace {

constexpr unsigned kBadRequest = 400;
constexpr unsigned kNotFound = 404;

struct Path {
    const char* path;
    Place place;
};

constexpr Path kPaths[] = {
    {"/", Place::kPage},
    {"/page.css", Place::kStyle},
    {"/charts.js", Place::kCharts},
    {"/page.js", Place::kScript},
    {"/events", Place::kEvents},
    {"/history", Place::kHistory},
    {"/recording.jsonl", Place::kRecording},
    {"/report.html", Place::kReport},
    {"/metrics", Place::kMetrics},
    {"/healthz", Place::kHealth},
};

// False for a parameter that this place does not have, or a value that cannot be.
bool Take(std::string_view name, std::string_view value, Route& route) {
    if (name == "seconds" && route.place == Place::kHistory) {
        route.seconds = ParseSeconds(value);
        return route.seconds.has_value();
    }
    if (name == "after" && route.place == Place::kEvents) {
        route.after = value;
        return true;
    }
    if (name == "mask" && route.place == Place::kReport) {
        route.mask = value == "1";
        return value == "1" || value == "0";
    }
    return false;
}

}  // namespace

RouteOrStatus ParseTarget(std::string_view target) {
    const size_t mark = target.find('?');
    const std::string_view path = target.substr(0, mark);
    const auto* known = std::find_if(std::begin(kPaths), std::end(kPaths),
                                     [&](const Path& entry) { return path == entry.path; });
    if (known == std::end(kPaths)) {
        return kNotFound;
    }
    Route route{known->place, {}, {}, false};
    std::string_view query =
        mark == std::string_view::npos ? std::string_view() : target.substr(mark + 1);
    while (!query.empty()) {
        const std::string_view part = query.substr(0, query.find('&'));
        query.remove_prefix(std::min(part.size() + 1, query.size()));
        const size_t equals = part.find('=');
        if (equals == std::string_view::npos ||
            !Take(part.substr(0, equals), part.substr(equals + 1), route)) {
            return kBadRequest;
        }
    }
    return route;
}

}  // namespace zorvane
