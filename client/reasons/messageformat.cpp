#include "client/reasons/messageformat.h"

#include <algorithm>
#include <charconv>

namespace zorvane {
namespace {

constexpr std::string_view kConversionEnds = "sduf";

// Takes "%...x" from the front of the format; the letter x.
char TakeConversion(std::string_view& format) {
    const size_t end = format.find_first_of(kConversionEnds);
    if (end == std::string_view::npos) {
        format = {};
        return '\0';
    }
    const char conversion = format[end];
    format.remove_prefix(end + 1);
    return conversion;
}

std::optional<int64_t> TakeNumber(std::string_view& message) {
    int64_t number = 0;
    const auto [end, error] =
        std::from_chars(message.data(), message.data() + message.size(), number);
    if (error != std::errc()) {
        return std::nullopt;
    }
    message.remove_prefix(static_cast<size_t>(end - message.data()));
    return number;
}

bool TakeWord(std::string_view& message) {
    const size_t length = std::min(message.find(' '), message.size());
    message.remove_prefix(length);
    return length > 0;
}

bool Match(std::string_view format, std::string_view message, MessageMatch& match);

// The text may itself contain what follows it, so every place is tried.
bool MatchBehindText(std::string_view format, std::string_view message, MessageMatch& match) {
    if (format.empty()) {
        return true;
    }
    for (size_t length = 0; length <= message.size(); ++length) {
        MessageMatch attempt = match;
        if (Match(format, message.substr(length), attempt)) {
            match = attempt;
            return true;
        }
    }
    return false;
}

bool Match(std::string_view format, std::string_view message, MessageMatch& match) {
    while (!format.empty()) {
        if (format.front() != '%') {
            if (message.empty() || message.front() != format.front()) {
                return false;
            }
            format.remove_prefix(1);
            message.remove_prefix(1);
            ++match.literals;
            continue;
        }
        const char conversion = TakeConversion(format);
        if (conversion == 's') {
            return MatchBehindText(format, message, match);
        }
        if (conversion == 'f') {
            if (!TakeWord(message)) {
                return false;
            }
            continue;
        }
        const std::optional<int64_t> number = TakeNumber(message);
        if (!number) {
            return false;
        }
        match.lastNumber = number;
    }
    return message.empty();
}

}  // namespace

std::optional<MessageMatch> MatchMessage(std::string_view format, std::string_view message) {
    MessageMatch match;
    return Match(format, message, match) ? std::optional(match) : std::nullopt;
}

}  // namespace zorvane
