#include "monitor/options/keepingoptions.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "monitor/options/values.h"

namespace zorvane {
namespace {

// About ten years.
constexpr double kMostHours = 24 * 365 * 10;

std::string CheckOnBattery(const std::string& text) {
    const std::vector<std::string> known = {"run", "pause"};
    if (std::find(known.begin(), known.end(), LowerAscii(text)) != known.end()) {
        return "";
    }
    return fmt::format("--on-battery takes {}, not \"{}\".{}", Listed(known), text,
                       DidYouMean(text, known));
}

std::string CheckMaxAge(const std::string& text) {
    return ParsePositive(text, kMostHours)
               ? ""
               : fmt::format("--max-age takes a number of hours above 0, up to {}, not \"{}\"",
                             kMostHours, text);
}

}  // namespace

void CKeepingOptions::Declare(CLI::App& app) {
    AddValue(app, "--on-battery", m_onBattery,
             "While the computer runs on battery: go on (run), or end the worker until it is on "
             "mains again (pause)",
             "run|pause")
        ->check(CheckOnBattery);
    AddValue(app, "--max-age", m_maxAge,
             "End a worker in order and start another after so many hours (default: never)",
             "HOURS")
        ->check(CheckMaxAge);
}

WorkerSourceOptions CKeepingOptions::Get(WorkerSourceOptions worker) const {
    worker.pausesOnBattery = LowerAscii(m_onBattery) == "pause";
    if (const auto hours = ParsePositive(m_maxAge, kMostHours)) {
        worker.maxAge = std::chrono::ceil<std::chrono::milliseconds>(
            std::chrono::duration<double, std::ratio<3600>>(*hours));
    }
    return worker;
}

}  // namespace zorvane
