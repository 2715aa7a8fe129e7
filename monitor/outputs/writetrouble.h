/** Tells of a file that cannot be written for a while. */
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "client/reportlimiter.h"
#include "monitor/moment.h"
#include "monitor/views/view.h"

namespace zorvane {

/**
 * Between OnFailure and OnSuccess the file is in trouble. That is said, once a minute at most, and
 * so is its end.
 */
class CWriteTrouble {
  public:
    /** `notes` outlives this object. */
    CWriteTrouble(INotes& notes, std::string file, std::function<Moment()> clock)
        : m_notes(notes), m_file(std::move(file)), m_clock(std::move(clock)) {}

    void OnFailure(const CallError& error);
    void OnSuccess();

    /** The last failure, of a trouble that is over too. */
    const CallError& LastError() const { return m_lastError; }

    /** Whether there is trouble, and the last failure is so recent that another try would only cost
     * time. */
    bool IsTooEarly() const;

  private:
    INotes& m_notes;
    const std::string m_file;
    const std::function<Moment()> m_clock;
    CReportLimiter m_limiter;
    bool m_isOn = false;
    CallError m_lastError;
    std::chrono::milliseconds m_lastFailure{};
    bool m_isSaid = false;
};

}  // namespace zorvane
