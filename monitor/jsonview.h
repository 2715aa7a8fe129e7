#pragma once

#include "monitor/view.h"

namespace zorvane {

/** Every event as one line of JSON, when it happens. */
class CJsonView : public IView {
  public:
    explicit CJsonView(COutput& output) : m_output(output) {}

    void ShowEvent(const Event& event) override;
    void ShowChange(const CMachineModel&) override {}
    void ShowRound(const CMachineModel&) override {}
    void ShowNote(const std::string& text) override { WriteNote(text); }

  private:
    COutput& m_output;
};

}  // namespace zorvane
