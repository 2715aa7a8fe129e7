#include "monitor/tableviews.h"

#include <fmt/format.h>

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
    if (format == Format::kJson) return std::make_unique<CJsonView>(output);
    if (output.IsTerminal()) return std::make_unique<CLiveTableView>(output);
    return std::make_unique<CPlainTableView>(output);
}

void CPlainTableView::ShowEvent(const Event& event) {
    if (const auto* error = std::get_if<ErrorEvent>(&event)) ShowNote(NoteOf(*error));
}

void CPlainTableView::ShowRound(const CMachineModel& model) {
    std::string text = m_isFirst ? "" : "\n";
    m_isFirst = false;
    for (const std::string& line : RenderTable(model, LocalClock(), kAnyWidth)) text += line + "\n";
    m_output.Write(text);
}

void CLiveTableView::ShowEvent(const Event& event) {
    if (const auto* error = std::get_if<ErrorEvent>(&event)) ShowNote(NoteOf(*error));
}

void CLiveTableView::ShowChange(const CMachineModel& model) {
    const TerminalSize size = m_output.Size();
    // A line as wide as the terminal would wrap, and a table as high would scroll its top away.
    std::vector<std::string> lines = RenderTable(model, LocalClock(), size.columns - 1);
    if (lines.size() >= size.rows) lines.resize(size.rows - 1);
    m_table.clear();
    for (const std::string& line : lines) m_table += line + "\x1b[K\r\n";
    m_output.Write(BackToTop() + m_table + "\x1b[J");
    m_drawn = lines.size();
}

void CLiveTableView::ShowNote(const std::string& text) {
    m_output.Write(BackToTop() + "\x1b[J");
    WriteNote(text);
    m_output.Write(m_table);
}

std::string CLiveTableView::BackToTop() const {
    return m_drawn > 0 ? fmt::format("\x1b[{}A\r", m_drawn) : "";
}

}  // namespace zorvane
