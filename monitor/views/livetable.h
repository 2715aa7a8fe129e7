#pragma once

#include <deque>
#include <string>

#include "monitor/output.h"
#include "monitor/terminal/screen.h"
#include "monitor/views/view.h"

namespace zorvane {

/**
 * The table on a terminal's alternate screen, with the newest notes below it. At the end the
 * terminal is as before, with the last table and all notes behind what was there.
 */
class CLiveTableView : public IView, public INotes {
  public:
    /** `output` is a terminal and outlives the view. */
    CLiveTableView(COutput& output, bool hasColour) : m_output(output), m_hasColour(hasColour) {}

    /** Shows the alternate screen. */
    [[nodiscard]] std::optional<CallError> Enter();

    void OnEvent(const Event& event, const CMachineModel&) override { m_lastTime = event.time; }
    void OnChange(const CMachineModel& model) override;
    void OnRound(const CMachineModel& model) override { OnChange(model); }
    void OnKey(Key key) override;
    void OnEnd(const CMachineModel& model) override;
    std::optional<ViewFailure> Failure() const override;
    /** Below the table, with the time of the last event before it. */
    void ShowNote(const std::string& text) override;

  private:
    void Draw();
    StyledLines NoteLines(size_t rows) const;

    COutput& m_output;
    const bool m_hasColour;
    CScreen m_screen;
    CMachineModel m_latest;
    /** What is shown; stays as it is during a pause. */
    CMachineModel m_shown;
    bool m_isPaused = false;
    bool m_hasEnded = false;
    UtcTime m_lastTime{};
    /** The oldest first, with their times. */
    std::deque<std::string> m_notes;
    /** Notes before the first of m_notes. */
    size_t m_notesLost = 0;
};

}  // namespace zorvane
