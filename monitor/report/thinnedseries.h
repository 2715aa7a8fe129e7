/** A quantity over a long time in little memory. */
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "monitor/moment.h"

namespace zorvane {

/** A value at a time; empty: a gap begins there. */
struct SeriesPoint {
    UtcTime time{};
    std::optional<double> value;
};

/** Of all values. */
struct SeriesSummary {
    double lowest = 0;
    double average = 0;
    double highest = 0;
    /** The newest one. */
    double last = 0;
};

/**
 * Keeps of each step of time the lowest value, the highest, and whether one was not read: no peak
 * and no gap is lost. When there are too many steps each becomes twice as long.
 */
class CThinnedSeries {
  public:
    /** The steps of a series before its steps are merged. */
    static constexpr size_t kMostSteps = 8192;

    /** Without a value for so long the line is interrupted. */
    static constexpr std::chrono::milliseconds kGap = std::chrono::seconds(5);

    /** A value, or that it was not read. Times that do not rise are left out. */
    void Add(UtcTime time, std::optional<double> value);

    /** What comes later is not joined to what came before. */
    void Interrupt(UtcTime time);

    /** Merges until there are so many steps at most. */
    void Coarsen(size_t steps);

    /** In the order of time. */
    std::vector<SeriesPoint> Points() const;

    /** Of all values that were ever added; empty without one. */
    std::optional<SeriesSummary> Summary() const;

    std::chrono::milliseconds Step() const { return m_step; }
    size_t Steps() const { return m_steps.size(); }

  private:
    struct Part {
        std::optional<SeriesPoint> lowest;
        std::optional<SeriesPoint> highest;
        std::optional<UtcTime> gap;
    };

    void Put(SeriesPoint point);
    static void Merge(Part& into, const Part& other);
    void Double();

    std::chrono::milliseconds m_step = std::chrono::milliseconds(250);
    // By the number of the step since 1970.
    std::map<int64_t, Part> m_steps;
    std::optional<UtcTime> m_lastTime;
    bool m_isInterrupted = true;
    double m_lowest = 0;
    double m_highest = 0;
    double m_sum = 0;
    double m_last = 0;
    uint64_t m_count = 0;
};

}  // namespace zorvane
