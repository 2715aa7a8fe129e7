#include "monitor/model/history.h"

#include <algorithm>

namespace zorvane {

void CLastMinute::Add(UtcTime time, std::optional<int64_t> value) {
    if (m_lastTime && time - *m_lastTime > kLongestPause) {
        const auto seconds = std::chrono::floor<std::chrono::seconds>(time - *m_lastTime).count();
        const int64_t lacking = std::min<int64_t>(seconds - 1 - m_gaps, kKept);
        for (int64_t i = 0; i < lacking; ++i) {
            Push(std::nullopt);
        }
    }
    m_lastTime = time;
    m_gaps = 0;
    Push(value);
}

void CLastMinute::AddGap() {
    ++m_gaps;
    Push(std::nullopt);
}

std::optional<LowestHighest> CLastMinute::Range() const {
    std::optional<LowestHighest> range;
    for (const auto& value : m_values) {
        if (!value) {
            continue;
        }
        range =
            range ? LowestHighest{std::min(range->lowest, *value), std::max(range->highest, *value)}
                  : LowestHighest{*value, *value};
    }
    return range;
}

void CLastMinute::Push(std::optional<int64_t> value) {
    m_values.push_back(value);
    if (m_values.size() > kKept) {
        m_values.pop_front();
    }
}

}  // namespace zorvane
