#pragma once

#include "monitor/views/outputfailure.h"

namespace zorvane {

/** Every event as one line of JSON, when it happens: for programs, and as a recording. */
class CJsonView : public IView {
  public:
    /** `output` outlives the view. */
    explicit CJsonView(COutput& output) : m_output(output) {}

    void OnEvent(const Event& event, const CMachineModel& model) override;
    std::optional<ViewFailure> Failure() const override { return FailureOf(m_output); }

  private:
    COutput& m_output;
};

}  // namespace zorvane
