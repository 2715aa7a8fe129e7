#include "monitor/views/livetable.h"

#include <fmt/format.h>

#include <algorithm>

#include "base/textstream.h"
#include "monitor/terminal/celltext.h"
#include "monitor/views/outputfailure.h"
#include "monitor/views/table.h"

namespace zorvane {
namespace {

// Notes that are kept, and of those the ones that a high terminal shows in any case.
constexpr size_t kKeptNotes = 200;
constexpr size_t kShownNotes = 5;
constexpr size_t kHighRows = 20;

}  // namespace

std::optional<CallError> CLiveTableView::Enter() {
    auto error = m_screen.Enter(m_output.Handle());
    if (!error) {
        m_lastTime = ReadMoment().utc;
    }
    return error;
}

void CLiveTableView::OnChange(const CMachineModel& model) {
    m_latest = model;
    if (!m_isPaused) {
        m_shown = m_latest;
        Draw();
    }
}

void CLiveTableView::OnKey(Key key) {
    if (key == Key::kPause) {
        m_isPaused = !m_isPaused;
        m_shown = m_latest;
    }
    Draw();
}

void CLiveTableView::Draw() {
    const TerminalSize size = m_screen.Size();
    const size_t most = size.rows >= kHighRows ? kShownNotes : 1;
    const size_t notes = std::min(m_notes.size(), most);
    const size_t pause = m_isPaused ? 1 : 0;
    const size_t rows = size.rows - std::min(size.rows, notes + pause);
    StyledLines lines =
        RenderStyledTable(m_shown, {.columns = size.columns - 1, .rows = rows, .hasHistory = true});
    const StyledLines below = NoteLines(std::max(notes, size.rows - pause - lines.size()));
    lines.resize(size.rows - pause - below.size());
    lines.insert(lines.end(), below.begin(), below.end());
    if (m_isPaused) {
        lines.emplace_back("PAUSED: the display stands still, p goes on", Style::kAlarm);
    }
    m_screen.Draw(lines, m_hasColour);
}

StyledLines CLiveTableView::NoteLines(size_t rows) const {
    const size_t count = std::min({m_notes.size(), rows, kShownNotes});
    return {m_notes.end() - static_cast<ptrdiff_t>(count), m_notes.end()};
}

void CLiveTableView::ShowNote(const std::string& text) {
    // What goes to a file goes there at once.
    if (m_hasEnded || !IsConsole(GetStdHandle(STD_ERROR_HANDLE))) {
        WriteNote(Harmless(text));
    }
    if (m_hasEnded) {
        return;
    }
    m_notes.push_back(LocalClock(m_lastTime) + "  " + Harmless(text));
    if (m_notes.size() > kKeptNotes) {
        m_notes.pop_front();
        ++m_notesLost;
    }
    Draw();
}

void CLiveTableView::OnEnd(const CMachineModel&) {
    m_screen.Leave();
    m_hasEnded = true;
    // The blank line also is the one that Wine's console spoils after a change of its screen.
    std::string text = "\n";
    for (const std::string& line : RenderTable(m_latest, m_output.Size().columns - 1)) {
        text += line + "\n";
    }
    m_output.Write(text);
    if (!IsConsole(GetStdHandle(STD_ERROR_HANDLE))) {
        return;
    }
    if (m_notesLost > 0) {
        WriteNote(fmt::format("{} earlier messages are not kept", m_notesLost));
    }
    for (const std::string& note : m_notes) {
        WriteNote(note);
    }
}

std::optional<ViewFailure> CLiveTableView::Failure() const {
    if (m_screen.Failure()) {
        return ViewFailure{*m_screen.Failure(), false};
    }
    return FailureOf(m_output);
}

}  // namespace zorvane
