#include "client/reportlimiter.h"

#include <utility>

namespace zorvane {

std::optional<unsigned> CReportLimiter::Admit(const std::string& cause,
                                              std::chrono::milliseconds now) {
    const auto [entry, isNew] = m_causes.try_emplace(cause, Cause{now, 0});
    if (isNew) {
        return 0;
    }
    Cause& known = entry->second;
    if (now - known.lastTold < kPause) {
        ++known.leftOut;
        return std::nullopt;
    }
    known.lastTold = now;
    return std::exchange(known.leftOut, 0u);
}

}  // namespace zorvane
