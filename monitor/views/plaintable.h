#pragma once

#include "monitor/outputs/textoutput.h"
#include "monitor/views/view.h"

namespace zorvane {

/**
 * One table below the other, a round each: for files and pipes. A run without a reading whose
 * worker has told why gets one as well.
 */
class CPlainTableView : public IView {
  public:
    /** `output` outlives the view. */
    explicit CPlainTableView(ITextOutput& output) : m_output(output) {}

    void OnRound(const CMachineModel& model) override;
    void OnChange(const CMachineModel&) override { m_output.Rest(); }
    void OnEnd(const CMachineModel& model) override;
    std::optional<ViewFailure> Failure() const override { return m_output.Failure(); }

  private:
    ITextOutput& m_output;
    bool m_isFirst = true;
};

}  // namespace zorvane
