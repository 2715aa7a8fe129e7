#include "monitor/outputs/writetrouble.h"

#include <utility>

namespace zorvane {

void CWriteTrouble::OnFailure(const CallError& error) {
    m_lastFailure = m_clock().tick;
    m_isOn = true;
    m_lastError = error;
    if (m_limiter.Admit("", m_lastFailure)) {
        m_isSaid = true;
        m_notes.ShowNote(Describe(error) + "; trying again");
    }
}

void CWriteTrouble::OnSuccess() {
    m_isOn = false;
    if (std::exchange(m_isSaid, false)) {
        m_notes.ShowNote(m_file + " is written again");
    }
}

bool CWriteTrouble::IsTooEarly() const {
    // A network drive that is gone holds each try up for many seconds.
    constexpr std::chrono::milliseconds kPause = std::chrono::seconds(1);
    return m_isOn && m_clock().tick < m_lastFailure + kPause;
}

}  // namespace zorvane
