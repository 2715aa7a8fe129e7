#include "monitor/views/csvview.h"

#include <algorithm>
#include <utility>

namespace zorvane {
namespace {

constexpr char kLineEnd[] = "\r\n";

// A field from outside: one line, without control characters that a terminal would obey, and in
// quotes where it needs them.
std::string Quoted(std::string field, char separator) {
    std::replace_if(
        field.begin(), field.end(), [](char c) { return (c >= 0 && c < ' ') || c == '\x7F'; }, '?');
    if (field.find(separator) == std::string::npos && field.find('"') == std::string::npos) {
        return field;
    }
    for (size_t i = field.find('"'); i != std::string::npos; i = field.find('"', i + 2)) {
        field.insert(i, 1, '"');
    }
    return '"' + field + '"';
}

}  // namespace

std::string CsvHeader(const std::vector<const CsvColumn*>& columns, char separator) {
    std::string header;
    for (const CsvColumn* column : columns) {
        header += (header.empty() ? "" : std::string(1, separator)) + column->name;
    }
    return header;
}

CCsvView::CCsvView(ITextOutput& output, std::vector<const CsvColumn*> columns, char separator)
    : m_output(output), m_columns(std::move(columns)), m_separator(separator) {
    m_output.SetFrame(*this);
}

void CCsvView::OnRound(const CMachineModel& model) {
    std::string rows;
    for (const auto& [source, row] : model.Gpus()) {
        rows += Row(model, &row);
    }
    m_output.Write(rows.empty() ? Row(model, nullptr) : rows);
}

std::string CCsvView::Head() const { return CsvHeader(m_columns, m_separator) + kLineEnd; }

std::string CCsvView::Row(const CMachineModel& model, const GpuRow* row) const {
    std::string text;
    for (const CsvColumn* column : m_columns) {
        if (column != m_columns.front()) {
            text += m_separator;
        }
        text += Quoted(column->text(model, row), m_separator);
    }
    // An empty line would be no row.
    return (text.empty() ? "\"\"" : text) + kLineEnd;
}

}  // namespace zorvane
