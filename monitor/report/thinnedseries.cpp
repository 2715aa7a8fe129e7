#include "monitor/report/thinnedseries.h"

#include <algorithm>

namespace zorvane {

void CThinnedSeries::Add(UtcTime time, std::optional<double> value) {
    if (m_lastTime && time <= *m_lastTime) {
        return;
    }
    if (m_lastTime && time - *m_lastTime > kGap) {
        Interrupt(*m_lastTime + std::chrono::milliseconds(1));
    }
    m_lastTime = time;
    if (!value) {
        Put({time, std::nullopt});
        m_isInterrupted = true;
        return;
    }
    m_lowest = m_count > 0 ? std::min(m_lowest, *value) : *value;
    m_highest = m_count > 0 ? std::max(m_highest, *value) : *value;
    m_sum += *value;
    m_last = *value;
    ++m_count;
    m_isInterrupted = false;
    Put({time, value});
}

void CThinnedSeries::Interrupt(UtcTime time) {
    if (m_isInterrupted) {
        return;
    }
    m_isInterrupted = true;
    Put({m_lastTime ? std::max(time, *m_lastTime + std::chrono::milliseconds(1)) : time,
         std::nullopt});
}

void CThinnedSeries::Put(SeriesPoint point) {
    const int64_t number = point.time.time_since_epoch() / m_step;
    Part part;
    if (point.value) {
        part.lowest = point;
        part.highest = point;
    } else {
        part.gap = point.time;
    }
    Merge(m_steps[number], part);
    if (m_steps.size() > kMostSteps) {
        Double();
    }
}

void CThinnedSeries::Merge(Part& into, const Part& other) {
    if (other.lowest && (!into.lowest || *other.lowest->value < *into.lowest->value)) {
        into.lowest = other.lowest;
    }
    if (other.highest && (!into.highest || *other.highest->value > *into.highest->value)) {
        into.highest = other.highest;
    }
    if (other.gap) {
        into.gap = other.gap;
    }
}

void CThinnedSeries::Double() {
    std::map<int64_t, Part> merged;
    for (const auto& [number, part] : m_steps) {
        Merge(merged[number / 2], part);
    }
    m_steps = std::move(merged);
    m_step *= 2;
}

void CThinnedSeries::Coarsen(size_t steps) {
    while (m_steps.size() > std::max<size_t>(steps, 1)) {
        Double();
    }
}

std::vector<SeriesPoint> CThinnedSeries::Points() const {
    std::vector<SeriesPoint> points;
    for (const auto& [number, part] : m_steps) {
        std::vector<SeriesPoint> here;
        if (part.lowest) {
            here.push_back(*part.lowest);
        }
        if (part.highest && part.highest->time != part.lowest->time) {
            here.push_back(*part.highest);
        }
        if (part.gap) {
            here.push_back({*part.gap, std::nullopt});
        }
        std::sort(here.begin(), here.end(), [](const SeriesPoint& left, const SeriesPoint& right) {
            return left.time < right.time;
        });
        points.insert(points.end(), here.begin(), here.end());
    }
    return points;
}

std::optional<SeriesSummary> CThinnedSeries::Summary() const {
    if (m_count == 0) {
        return std::nullopt;
    }
    return SeriesSummary{m_lowest, m_sum / static_cast<double>(m_count), m_highest, m_last};
}

}  // namespace zorvane
