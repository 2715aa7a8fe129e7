/** Text as a terminal counts it: in cells. All text is UTF-8. */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zorvane {

/** Cells that the character takes: 0, 1 or 2. */
size_t CellsOf(char32_t character);

/** Cells that the text takes. */
size_t CellsOf(std::string_view text);

/** The begin of the text that fits into `cells`; an accent stays with its letter. */
std::string CutToCells(std::string_view text, size_t cells);

/** CutToCells, with the sign for an omission as its last character if anything was cut. */
std::string ShortenedToCells(std::string_view text, size_t cells);

/** The text with blanks behind it, `cells` wide at least. */
std::string PaddedToCells(const std::string& text, size_t cells);

/**
 * The text as one line that a terminal shows and does not obey: control characters, line separators
 * and the marks that turn the direction of writing become '?'.
 */
std::string Harmless(std::string_view text);
std::string Harmless(std::wstring_view text);

}  // namespace zorvane
