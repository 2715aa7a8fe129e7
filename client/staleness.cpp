#include "client/staleness.h"

#include <algorithm>
#include <utility>

namespace zorvane {

void CStaleness::Begin(Moment now) {
    m_runs = true;
    m_counted = now.tick;
    m_silence = {};
    m_quiet = {};
    m_since = now.utc;
    m_staleSince.reset();
}

void CStaleness::CountUntil(Moment now) {
    const auto step = std::min(now.tick - m_counted, kLongestStep);
    m_silence += step;
    m_quiet += step;
    m_counted = now.tick;
}

void CStaleness::OnSign(Moment now) {
    CountUntil(now);
    m_quiet = {};
}

std::optional<FreshEvent> CStaleness::OnRound(Moment now) {
    CountUntil(now);
    m_silence = {};
    const auto since = std::exchange(m_staleSince, std::nullopt);
    return since ? std::optional(FreshEvent{*since}) : std::nullopt;
}

std::optional<StaleEvent> CStaleness::Check(Moment now) {
    if (!m_runs) {
        return std::nullopt;
    }
    CountUntil(now);
    if (m_staleSince || m_silence < m_times.staleAfter) {
        return std::nullopt;
    }
    m_staleSince = m_since;
    return StaleEvent{m_since};
}

bool CStaleness::IsHopeless() const {
    return m_runs && m_staleSince && m_quiet >= m_times.restartAfter;
}

std::optional<std::chrono::milliseconds> CStaleness::DueTick() const {
    constexpr std::chrono::milliseconds kPause = std::chrono::seconds(1);
    if (!m_runs) {
        return std::nullopt;
    }
    // In time for the limit that comes next, and never longer than a step may count.
    const auto untilStale = m_times.staleAfter - m_silence;
    const bool isNear = !m_staleSince && untilStale < kPause;
    return m_counted + (isNear ? std::max(untilStale, std::chrono::milliseconds(1)) : kPause);
}

}  // namespace zorvane
