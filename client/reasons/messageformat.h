/** Matching a message against the printf-style format that it was made from. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace zorvane {

struct MessageMatch {
    /** Characters of the format that the message has as they are. */
    size_t literals = 0;
    /** The value of the last whole number in the format. */
    std::optional<int64_t> lastNumber;
};

/**
 * Nothing when `message` cannot have come from `format`, whose conversions may be %s (any bytes, at
 * most one), %d, %u and %lu (a whole number), and %.2f (any bytes but blanks, because NaN and
 * infinity have several spellings).
 */
std::optional<MessageMatch> MatchMessage(std::string_view format, std::string_view message);

}  // namespace zorvane
