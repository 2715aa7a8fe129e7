#include "monitor/options/runoptions.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "monitor/options/values.h"

namespace zorvane {
namespace {

std::string CheckRoundCount(const std::string& text) {
    return ParseCount(text)
               ? ""
               : fmt::format("--count takes a whole number of rounds from 1, not \"{}\"", text);
}

std::string CheckDuration(const std::string& text) {
    return ParseSeconds(text)
               ? ""
               : fmt::format("--duration takes a number of seconds above 0, not \"{}\"", text);
}

}  // namespace

void CRunOptions::Declare(CLI::App& app) {
    AddValue(app, "--count", m_count, "End after N complete rounds of readings", "N")
        ->check(CheckRoundCount);
    AddValue(app, "--duration", m_duration, "End after this many seconds", "SECONDS")
        ->check(CheckDuration);
}

RunLimits CRunOptions::Get() const { return {ParseCount(m_count), ParseSeconds(m_duration)}; }

}  // namespace zorvane
