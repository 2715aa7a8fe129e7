#pragma once

#include <cstddef>

#include "monitor/view.h"

namespace zorvane {

/** One table below the other, a round each: for files and pipes. */
class CPlainTableView : public IView {
  public:
    explicit CPlainTableView(COutput& output) : m_output(output) {}

    void ShowEvent(const Event& event) override;
    void ShowChange(const CMachineModel&) override {}
    void ShowRound(const CMachineModel& model) override;
    void ShowNote(const std::string& text) override { WriteNote(text); }

  private:
    COutput& m_output;
    bool m_isFirst = true;
};

/** One table that is drawn anew in its place: for terminals. */
class CLiveTableView : public IView {
  public:
    explicit CLiveTableView(COutput& output) : m_output(output) {}

    void ShowEvent(const Event& event) override;
    void ShowChange(const CMachineModel& model) override;
    void ShowRound(const CMachineModel& model) override { ShowChange(model); }
    /** The note goes above the table, which is drawn again below it with the next change. */
    void ShowNote(const std::string& text) override;

  private:
    COutput& m_output;
    /** Lines of the table above the cursor. */
    size_t m_drawn = 0;
    std::string m_table;
};

}  // namespace zorvane
