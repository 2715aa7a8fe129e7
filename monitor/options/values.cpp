#include "monitor/options/values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numeric>

namespace zorvane {
namespace {

// Number of edits that turn one text into the other; swapping two neighbours is one edit
// (Damerau-Levenshtein distance).
size_t Distance(std::string_view left, std::string_view right) {
    std::vector<std::vector<size_t>> edits(left.size() + 1, std::vector<size_t>(right.size() + 1));
    std::iota(edits[0].begin(), edits[0].end(), size_t{0});
    for (size_t i = 1; i <= left.size(); ++i) {
        edits[i][0] = i;
        for (size_t j = 1; j <= right.size(); ++j) {
            const bool isSame = left[i - 1] == right[j - 1];
            edits[i][j] = std::min(
                {edits[i - 1][j - 1] + (isSame ? 0 : 1), edits[i - 1][j] + 1, edits[i][j - 1] + 1});
            if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1]) {
                edits[i][j] = std::min(edits[i][j], edits[i - 2][j - 2] + 1);
            }
        }
    }
    return edits.back().back();
}

}  // namespace

std::string LowerAscii(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

std::optional<uint64_t> ParseCount(std::string_view text) {
    constexpr size_t kMostDigits = 18;
    uint64_t value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.size() > kMostDigits || error != std::errc{} || stop != end || value == 0) {
        return std::nullopt;
    }
    return value;
}

std::optional<double> ParsePositive(std::string_view text, double highest) {
    double value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    // Written so that NaN fails.
    if (error != std::errc{} || stop != end || !(value > 0 && value <= highest)) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::chrono::milliseconds> ParseSeconds(std::string_view text) {
    constexpr double kLongest = 1e9;
    const auto seconds = ParsePositive(text, kLongest);
    if (!seconds) {
        return std::nullopt;
    }
    return std::chrono::milliseconds(static_cast<int64_t>(std::ceil(*seconds * 1000)));
}

std::optional<std::string> Nearest(std::string_view text, const std::vector<std::string>& known) {
    // A long text is not a typing error, and the comparison takes quadratic time.
    constexpr size_t kLongest = 64;
    if (text.size() > kLongest) {
        return std::nullopt;
    }
    const std::string lower = LowerAscii(std::string(text));
    std::optional<std::string> nearest;
    size_t least = std::max<size_t>(text.size() / 3, 1) + 1;
    for (const std::string& name : known) {
        const size_t distance = Distance(lower, LowerAscii(name));
        if (distance < least) {
            least = distance;
            nearest = name;
        }
    }
    return nearest;
}

std::string DidYouMean(std::string_view text, const std::vector<std::string>& known) {
    const auto nearest = Nearest(text, known);
    return nearest ? " Did you mean " + *nearest + "?" : "";
}

std::string Listed(const std::vector<std::string>& names) {
    std::string list;
    for (size_t i = 0; i < names.size(); ++i) {
        const char* separator = i == 0 ? "" : i + 1 == names.size() ? " or " : ", ";
        list += separator + names[i];
    }
    return list;
}

}  // namespace zorvane
