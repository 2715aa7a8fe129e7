#include "monitor/commands/list.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "base/text.h"
#include "monitor/commands/runsource.h"
#include "monitor/options/values.h"
#include "monitor/sources/recordingsource.h"
#include "monitor/sources/startfacts.h"
#include "monitor/sources/workersource.h"
#include "monitor/views/errornotes.h"
#include "monitor/views/gpulist.h"

namespace zorvane {
namespace {

std::string CheckWait(const std::string& text) {
    return ParseSeconds(text)
               ? ""
               : fmt::format("--wait takes a number of seconds above 0, not \"{}\"", text);
}

int List(ISource& source, const RunLimits& limits, bool isJson) {
    COutput output(GetStdHandle(STD_OUTPUT_HANDLE));
    CErrorNotes notes;
    CGpuListView list(output, isJson);
    const int exitCode = RunViews(source, {&list}, notes, limits);
    if (exitCode == kExitDone && list.IsEmpty()) {
        notes.ShowNote("no NVIDIA GPU was reported");
        return kExitNoReading;
    }
    return exitCode;
}

}  // namespace

void CListCommand::Declare(CLI::App& app) {
    app.add_flag("--json", m_isJson, "One gpu_static line of JSON for each GPU");
    auto* wait =
        AddValue(app, "--wait", m_wait, "Wait so long for the first round of readings", "SECONDS")
            ->check(CheckWait);
    AddValue(app, "--recording", m_recording, "From a recording instead of a worker", "FILE")
        ->excludes(wait);
    m_worker.Declare(app);
    app.footer("Examples:\n  zorvanemon list\n  zorvanemon list --json --recording today.jsonl");
}

int CListCommand::Run(const CommandContext& context) {
    if (!m_recording.empty()) {
        CRecordingSource source({ToWide(m_recording), std::nullopt});
        return List(source, {}, m_isJson);
    }
    const WorkerSourceOptions options = m_worker.Get(context);
    CWorkerSource source(options, MakeStart(options.worker));
    // A worker tells what does not change in its first round.
    return List(source, {.count = 1, .duration = ParseSeconds(m_wait)}, m_isJson);
}

}  // namespace zorvane
