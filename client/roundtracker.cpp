#include "client/roundtracker.h"

namespace zorvane {

void CRoundTracker::Complete() {
    ++m_completed;
    m_sources.clear();
}

}  // namespace zorvane
