#pragma once

#include "monitor/json/jsonline.h"
#include "monitor/serve/httpserver.h"
#include "monitor/views/view.h"

namespace zorvane {

/** Gives a run to the server. */
class CServeView : public IView {
  public:
    /** `server` runs already, and outlives the view. */
    explicit CServeView(CHttpServer& server) : m_server(server) {}

    void OnEvent(const Event& event, const CMachineModel& model) override;
    void OnChange(const CMachineModel& model) override;
    void OnEnd(const CMachineModel& model) override;

  private:
    CHttpServer& m_server;
    CJsonLines m_lines;
};

/** Why the model has no readings, in a sentence; empty when it has some. */
std::string TroubleOf(const CMachineModel& model);

}  // namespace zorvane
