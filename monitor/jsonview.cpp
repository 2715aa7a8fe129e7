#include "monitor/jsonview.h"

#include "monitor/clock.h"
#include "monitor/jsonline.h"

namespace zorvane {

void CJsonView::ShowEvent(const Event& event) { m_output.Write(JsonLine(event, UtcNow()) + "\n"); }

}  // namespace zorvane
