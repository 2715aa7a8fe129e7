#include "monitor/views/jsonview.h"

namespace zorvane {

void CJsonView::OnEvent(const Event& event, const CMachineModel& model) {
    m_event = &event;
    m_model = &model;
    m_output.Write(m_lines.Line(event, model.Origin()) + "\n");
    m_event = nullptr;
    m_model = nullptr;
}

std::string CJsonView::Head() const {
    if (!m_event || !m_model->Start() || std::holds_alternative<StartEvent>(m_event->body)) {
        return "";
    }
    std::string head;
    const auto add = [&](EventBody body) {
        head += JsonLine({m_event->time, std::move(body)}, *m_model->Start()) + "\n";
    };
    add(*m_model->Start());
    if (m_model->IsWorkerUp()) {
        add(WorkerStartEvent{m_model->WorkerId()});
    }
    if (m_model->WorkerHello()) {
        add(HelloEvent{*m_model->WorkerHello(), m_model->WorkerId()});
    }
    for (const auto& [source, row] : m_model->Gpus()) {
        if (row.fixed) {
            add(*row.fixed);
        }
    }
    for (const auto& [what, missing] : m_model->Missing()) {
        add(missing);
    }
    if (m_model->IsPaused()) {
        add(PausedEvent());
    }
    return head;
}

std::string CJsonView::Tail() const {
    if (!m_event || !m_model->Start()) {
        return "";
    }
    const NoticeEvent notice{kContinuedNotice, "the recording goes on in the next file"};
    return JsonLine({m_event->time, notice}, *m_model->Start()) + "\n";
}

}  // namespace zorvane
