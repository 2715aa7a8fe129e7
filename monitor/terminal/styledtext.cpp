#include "monitor/terminal/styledtext.h"

#include "monitor/terminal/celltext.h"

namespace zorvane {

std::string PlainText(const StyledLine& line) {
    std::string text;
    for (const Span& span : line.spans) {
        text += span.text;
    }
    return text;
}

StyledLine CutLine(const StyledLine& line, size_t cells) {
    StyledLine result;
    for (const Span& span : line.spans) {
        const std::string text = CutToCells(span.text, cells);
        cells -= CellsOf(text);
        result.spans.push_back({text, span.style});
        if (text.size() < span.text.size()) {
            break;
        }
    }
    return result;
}

}  // namespace zorvane
