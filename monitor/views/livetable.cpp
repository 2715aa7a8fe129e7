#include "monitor/views/livetable.h"

#include <algorithm>

#include "monitor/views/table.h"

namespace zorvane {

void CLiveTableView::OnChange(const CMachineModel& model) {
    const TerminalSize size = m_output.Size();
    // One less than the terminal: a full line would wrap, and a full screen would scroll.
    const size_t width = size.columns - 1;
    std::vector<std::string> lines = RenderTable(model, width);
    if (lines.size() >= size.rows) {
        lines.resize(size.rows - 1);
    }
    // Blank what is left of a higher table.
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
