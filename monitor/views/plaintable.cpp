#include "monitor/views/plaintable.h"

#include "monitor/views/table.h"

namespace zorvane {

void CPlainTableView::OnRound(const CMachineModel& model) {
    std::string text = m_isFirst ? "" : "\n";
    m_isFirst = false;
    for (const std::string& line : RenderTable(model, kAnyWidth)) {
        text += line + "\n";
    }
    m_output.Write(text);
}

void CPlainTableView::OnEnd(const CMachineModel& model) {
    if (m_isFirst && !model.Missing().empty()) {
        OnRound(model);
    }
}

}  // namespace zorvane
