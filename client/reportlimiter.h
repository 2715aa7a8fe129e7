/** Keeps a failure that repeats itself from filling the output. */
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>

namespace zorvane {

class CReportLimiter {
  public:
    static constexpr std::chrono::milliseconds kPause = std::chrono::minutes(1);

    /**
     * Whether to report a failure with this cause now: the first one, and then one a minute at
     * most. If so, gives how many were left out since the last report. `now` must not run
     * backwards.
     */
    std::optional<unsigned> Admit(const std::string& cause, std::chrono::milliseconds now);

  private:
    struct Cause {
        std::chrono::milliseconds lastTold{};
        unsigned leftOut = 0;
    };

    std::map<std::string, Cause> m_causes;
};

}  // namespace zorvane
