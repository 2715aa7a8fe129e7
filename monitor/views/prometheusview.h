#pragma once

#include "monitor/outputs/textoutput.h"
#include "monitor/views/view.h"

namespace zorvane {

/** The metrics of each round, one block below the other: for a look, or for a program behind a
 * pipe.
 */
class CPrometheusBlocks : public IView {
  public:
    /** `output` outlives the view. */
    explicit CPrometheusBlocks(ITextOutput& output) : m_output(output) {}

    void OnRound(const CMachineModel& model) override;
    std::optional<ViewFailure> Failure() const override { return m_output.Failure(); }

  private:
    ITextOutput& m_output;
    bool m_isFirst = true;
};

/**
 * The metrics as they are now, in a file that is replaced: at every round, when something else
 * happens, and at the end, when readings go and counters stay.
 */
class CPrometheusFile : public IView {
  public:
    /** `output`, in which each text replaces the one before, outlives the view. */
    explicit CPrometheusFile(ITextOutput& output) : m_output(output) {}

    void OnEvent(const Event& event, const CMachineModel& model) override;
    void OnRound(const CMachineModel& model) override { Write(model); }
    void OnChange(const CMachineModel& model) override;
    void OnEnd(const CMachineModel& model) override;
    std::optional<ViewFailure> Failure() const override { return m_output.Failure(); }

  private:
    void Write(const CMachineModel& model);

    ITextOutput& m_output;
    /** Whether something has happened, other than a reading, that is not in the file yet. */
    bool m_isOutdated = false;
};

}  // namespace zorvane
