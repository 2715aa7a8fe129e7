/** Lines of text with emphasis, which a view may show as colours or not at all. */
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace zorvane {

enum class Style {
    kPlain,
    kHeading,
    /** Over a threshold, or gone: what people should see first. */
    kAlarm,
};

/** A part of a line, in UTF-8. */
struct Span {
    std::string text;
    Style style = Style::kPlain;

    bool operator==(const Span&) const = default;
};

/** One line, without a line end. */
struct StyledLine {
    StyledLine() = default;
    StyledLine(std::string text, Style style = Style::kPlain) : spans{{std::move(text), style}} {}

    bool operator==(const StyledLine&) const = default;

    std::vector<Span> spans;
};

using StyledLines = std::vector<StyledLine>;

/** The text alone. */
std::string PlainText(const StyledLine& line);

/** The begin of the line that fits into `cells`. */
StyledLine CutLine(const StyledLine& line, size_t cells);

}  // namespace zorvane
