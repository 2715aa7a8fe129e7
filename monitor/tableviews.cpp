#include "monitor/tableviews.h"

#include <fmt/format.h>

#include <algorithm>
#include <variant>

#include "monitor/clock.h"
#include "monitor/jsonview.h"
#include "monitor/table.h"

namespace zorvane {

std::string NoteOf(const ErrorEvent& event) {
    const std::string more =
        event.leftOut > 0 ? fmt::format(" (and {} more of this kind before)", event.leftOut) : "";
    return "payload: " + event.error.text + more;
}

std::unique_ptr<IView> MakeView(Format format, COutput& output) {
    if (format == Format::kJson) {
        return std::make_unique<CJsonView>(output);
    }
    if (output.IsTerminal()) {
        return std::make_unique<CLiveTableView>(output);
    }
    return std::make_unique<CPlainTableView>(output);
}

void CPlainTableView::ShowEvent(const Event& event) {
    if (const auto* error = std::get_if<ErrorEvent>(&event)) {
        ShowNote(NoteOf(*error));
    }
}

void CPlainTableView::ShowRound(const CMachineModel& model) {
    std::string text = m_isFirst ? "" : "\n";
    m_isFirst = false;
    for (const std::string& line : RenderTable(model, LocalClock(), kAnyWidth)) {
        text += line + "\n";
    }
    m_output.Write(text);
}

void CLiveTableView::ShowEvent(const Event& event) {
    if (const auto* error = std::get_if<ErrorEvent>(&event)) {
        ShowNote(NoteOf(*error));
    }
}

void CLiveTableView::ShowChange(const CMachineModel& model) {
    const TerminalSize size = m_output.Size();
    // A line as wide as the terminal would wrap, and a table as high would scroll its top away.
    const size_t width = size.columns - 1;
    std::vector<std::string> lines = RenderTable(model, LocalClock(), width);
    if (lines.size() >= size.rows) {
        lines.resize(size.rows - 1);
    }
    // What is left of a higher table is blanked.
    lines.resize(std::max(lines.size(), m_drawn));
    m_table.clear();
    for (const std::string& line : lines) {
        m_table += Padded(line, width) + "\n";
    }
    m_output.MoveUp(m_drawn);
    m_output.Write(m_table);
    m_drawn = lines.size();
}

void CLiveTableView::ShowNote(const std::string& text) {
    m_output.MoveUp(m_drawn);
    const std::string blanks = Padded("", m_output.Size().columns - 1) + "\n";
    for (size_t i = 0; i < m_drawn; ++i) {
        m_output.Write(blanks);
    }
    m_output.MoveUp(m_drawn);
    WriteNote(text);
    m_output.Write(m_table);
}

}  // namespace zorvane
