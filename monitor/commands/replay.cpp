#include "monitor/commands/replay.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "base/text.h"
#include "monitor/commands/runsource.h"
#include "monitor/options/values.h"
#include "monitor/output.h"
#include "monitor/outputs/samepath.h"
#include "monitor/sources/recordingsource.h"
#include "monitor/sources/warningsource.h"

namespace zorvane {
namespace {

constexpr double kHighestSpeed = 1e6;

std::string CheckSpeed(const std::string& text) {
    return ParsePositive(text, kHighestSpeed)
               ? ""
               : fmt::format("--speed takes a number above 0 and up to {}, not \"{}\"",
                             kHighestSpeed, text);
}

}  // namespace

void CReplayCommand::Declare(CLI::App& app) {
    app.add_option("FILE", m_file, "What record, or --format json, has written")
        ->type_name("")
        ->required();
    auto* speed = AddValue(app, "--speed", m_speed, "Times as fast as it was recorded", "N")
                      ->check(CheckSpeed);
    app.add_flag("--at-once", m_atOnce, "Without the pauses between events")->excludes(speed);
    m_run.Declare(app);
    m_display.Declare(app);
    m_warnings.Declare(app);
    app.footer(
        "Examples:\n"
        "  zorvanemon replay today.jsonl --speed 60\n"
        "  zorvanemon replay today.jsonl --at-once --format json");
}

int CReplayCommand::Run(const CommandContext&) {
    if (IsSamePath(ToWide(m_file), m_display.Get().out)) {
        WriteNote("--out is the recording itself");
        return kExitUsage;
    }
    RecordingSourceOptions options{ToWide(m_file), ParsePositive(m_speed, kHighestSpeed)};
    if (m_atOnce) {
        options.speed.reset();
    }
    CRecordingSource recording(options);
    // Without --warn, what was warned of when it was recorded.
    CWarningSource source(recording, m_warnings.Get());
    return RunSource(m_warnings.IsGiven() ? static_cast<ISource&>(source) : recording, m_display,
                     m_run.Get());
}

}  // namespace zorvane
