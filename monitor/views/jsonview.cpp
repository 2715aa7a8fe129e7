#include "monitor/views/jsonview.h"

#include "monitor/json/jsonline.h"

namespace zorvane {

void CJsonView::OnEvent(const Event& event, const CMachineModel& model) {
    m_output.Write(JsonLine(event, model.Start().value_or(StartEvent())) + "\n");
}

}  // namespace zorvane
