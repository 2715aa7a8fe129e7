/** Values of options out of their text, whatever the system's language. */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zorvane {

/** ASCII letters in lower case; other bytes stay. */
std::string LowerAscii(std::string text);

/** A whole number from 1, of at most 18 digits. */
std::optional<uint64_t> ParseCount(std::string_view text);

/** A number above 0 and at most `highest`, with a decimal point or an exponent if it likes. */
std::optional<double> ParsePositive(std::string_view text, double highest);

/** Above 0 and about 30 years at most, rounded up to a millisecond. */
std::optional<std::chrono::milliseconds> ParseSeconds(std::string_view text);

/**
 * Of `known`, what the text was probably meant to be: letter case does not matter, and one letter
 * in three may be wrong, missing, too many or in its neighbour's place. Empty if it is like none.
 */
std::optional<std::string> Nearest(std::string_view text, const std::vector<std::string>& known);

/** " Did you mean X?" with a blank before it, or nothing: to put behind a sentence. */
std::string DidYouMean(std::string_view text, const std::vector<std::string>& known);

/** "a, b or c". */
std::string Listed(const std::vector<std::string>& names);

}  // namespace zorvane
