#pragma once

#include "monitor/views/outputfailure.h"

namespace zorvane {

/**
 * One table below the other, a round each: for files and pipes. A run without a reading whose
 * worker has told why gets one as well.
 */
class CPlainTableView : public IView {
  public:
    /** `output` outlives the view. */
    explicit CPlainTableView(COutput& output) : m_output(output) {}

    void OnRound(const CMachineModel& model) override;
    void OnEnd(const CMachineModel& model) override;
    std::optional<ViewFailure> Failure() const override { return FailureOf(m_output); }

  private:
    COutput& m_output;
    bool m_isFirst = true;
};

}  // namespace zorvane
