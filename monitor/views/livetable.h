#pragma once

#include <cstddef>

#include "monitor/views/outputfailure.h"

namespace zorvane {

/** One table that is drawn anew in its place, with the notes above it: for terminals. */
class CLiveTableView : public IView, public INotes {
  public:
    /** `output` outlives the view. */
    explicit CLiveTableView(COutput& output) : m_output(output) {}

    void OnChange(const CMachineModel& model) override;
    void OnRound(const CMachineModel& model) override { OnChange(model); }
    std::optional<ViewFailure> Failure() const override { return FailureOf(m_output); }
    /** The note goes above the table, which is drawn again below it with the next change. */
    void ShowNote(const std::string& text) override;

  private:
    COutput& m_output;
    /** Lines of the table above the cursor. */
    size_t m_drawn = 0;
    std::string m_table;
};

}  // namespace zorvane
