/** What a reading was in the last minute or so. */
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

#include "monitor/moment.h"

namespace zorvane {

struct LowestHighest {
    int64_t lowest = 0;
    int64_t highest = 0;
};

/** The last kKept readings of one kind, one a round, with gaps where there was none. */
class CLastMinute {
  public:
    static constexpr size_t kKept = 60;

    /** Readings this far apart have gaps between them: one for each second. */
    static constexpr std::chrono::milliseconds kLongestPause = std::chrono::seconds(5);

    /** The reading of a round; empty if there was none. */
    void Add(UtcTime time, std::optional<int64_t> value);

    /** A round in which the source was silent. */
    void AddGap();

    /** The oldest first. */
    const std::deque<std::optional<int64_t>>& Values() const { return m_values; }

    /** Of all values kept; empty if there are none. */
    std::optional<LowestHighest> Range() const;

  private:
    void Push(std::optional<int64_t> value);

    std::deque<std::optional<int64_t>> m_values;
    std::optional<UtcTime> m_lastTime;
    /** Gaps behind the last reading. */
    int64_t m_gaps = 0;
};

}  // namespace zorvane
