#include "monitor/options/warningoptions.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "monitor/options/values.h"

namespace zorvane {
namespace {

constexpr char kOff[] = "off";
constexpr double kHighestLimit = 1e6;

struct Change {
    std::string what;
    std::string limit;
};

Change SplitAtEquals(const std::string& word) {
    const std::string lower = LowerAscii(word);
    const size_t equals = lower.find('=');
    return equals == std::string::npos ? Change{lower, ""}
                                       : Change{lower.substr(0, equals), lower.substr(equals + 1)};
}

std::vector<std::string> KnownWords() {
    std::vector<std::string> words;
    for (const WatchedReading& reading : WatchedReadings()) {
        words.emplace_back(reading.what);
    }
    return words;
}

std::string CheckWarning(const std::string& word) {
    const auto [what, limit] = SplitAtEquals(word);
    if (what == kOff && limit.empty()) {
        return "";
    }
    const std::vector<std::string> known = KnownWords();
    if (!FindWatched(what)) {
        return fmt::format("--warn knows {}, not \"{}\".{}", Listed(known), what,
                           DidYouMean(what, known));
    }
    if (limit != kOff && !ParsePositive(limit, kHighestLimit)) {
        return fmt::format("--warn {0} takes a number above 0 or off, as in {0}=80, not \"{1}\"",
                           what, limit);
    }
    return "";
}

std::string UsualWords() {
    std::vector<std::string> words;
    for (const auto& [what, limit] : UsualThresholds()) {
        words.push_back(fmt::format("{}={}", what, limit));
    }
    return fmt::format("{}", fmt::join(words, " "));
}

}  // namespace

void CWarningOptions::Declare(CLI::App& app) {
    app.add_option("--warn", m_words,
                   fmt::format("Warn when a reading is over a limit: {}; off instead of the limit, "
                               "or alone for all of them; may be repeated (default: {})",
                               fmt::join(KnownWords(), ", "), UsualWords()))
        ->type_name("WHAT=LIMIT")
        ->allow_extra_args(false)
        ->check(CheckWarning);
}

Thresholds CWarningOptions::Get() const {
    Thresholds thresholds = UsualThresholds();
    for (const std::string& word : m_words) {
        const auto [what, limit] = SplitAtEquals(word);
        if (what == kOff) {
            thresholds.clear();
        } else if (limit == kOff) {
            thresholds.erase(what);
        } else {
            thresholds[what] = ParsePositive(limit, kHighestLimit).value_or(0);
        }
    }
    return thresholds;
}

}  // namespace zorvane
