#include "monitor/options/workeroptions.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "base/modulepath.h"
#include "base/text.h"
#include "monitor/options/fullpath.h"
#include "monitor/options/values.h"

namespace zorvane {
namespace {

std::string CheckVariable(const std::string& text) {
    const size_t equals = text.find('=');
    const bool isChange = equals != std::string::npos && equals > 0;
    return isChange ? "" : fmt::format("--env takes NAME=VALUE, not \"{}\"", text);
}

std::string CheckNvml(const std::string& text) {
    const std::vector<std::string> known = {"auto", "system", "fixed"};
    if (std::find(known.begin(), known.end(), LowerAscii(text)) != known.end()) {
        return "";
    }
    return fmt::format("--nvml takes {}, not \"{}\".{}", Listed(known), text,
                       DidYouMean(text, known));
}

std::string CheckStaleAfter(const std::string& text) {
    return ParseSeconds(text)
               ? ""
               : fmt::format("--stale-after takes a number of seconds above 0, not \"{}\"", text);
}

// A worker beside which there is nothing but a simulated NVML, which reads the scenario.
void SetDemo(const std::wstring& folder, WorkerCommand& worker) {
    const std::wstring programs = folder + L"ProgramFiles";
    worker.host = folder + L"zorvanehost.exe";
    worker.environment.push_back({L"ProgramW6432", programs});
    worker.environment.push_back(
        {L"ZORVANE_SIM_SCENARIO", programs + L"\\NVIDIA Corporation\\NVSMI\\scenario.json"});
}

}  // namespace

void CWorkerOptions::Declare(CLI::App& app) {
    AddValue(app, "--host", m_host, "The host program (default: zorvanehost.exe beside zorvanemon)",
             "PATH");
    AddValue(app, "--library", m_libraryPath, "The library (default: the one beside the host)",
             "PATH");
    AddValue(app, "--entry", m_entry, "The worker's name, shown at most 31 characters long",
             "NAME");
    AddValue(
        app, "--nvml", m_nvml,
        "NVIDIA's library: the one in the NVSMI folder or else the system folder's (auto), the "
        "system folder's (system), or the NVSMI folder's only (fixed) (default: auto)",
        "auto|system|fixed")
        ->check(CheckNvml);
    app.add_option("--env", m_variables, "Set a variable for the worker only; may be repeated")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false)
        ->check(CheckVariable);
    app.add_flag("--demo", m_isDemo, "Show simulated GPUs; needs neither a GPU nor a driver")
        ->excludes("--host", "--library");
    app.add_flag("--no-restart", m_noRestart,
                 "Do not start a worker again that crashed or fell silent");
    AddValue(app, "--stale-after", m_staleAfter,
             "Take readings for gone after so long without a complete round", "SECONDS")
        ->check(CheckStaleAfter);
    // Checked with the command's name at hand, in ParseCommandLine.
    app.add_option("WORDS", m_words, "skip_delete; other words for the worker go behind --")
        ->type_name("");
}

std::string CWorkerOptions::ObstacleAsService() const {
    const std::string obstacle = FullPathObstacle("--host", ToWide(m_host));
    return obstacle.empty() ? FullPathObstacle("--library", ToWide(m_libraryPath)) : obstacle;
}

WorkerSourceOptions CWorkerOptions::Get(const CommandContext& context) const {
    WorkerSourceOptions options;
    options.worker.host = m_host.empty() ? context.defaultHost : ToWide(m_host);
    options.worker.libraryPath = ToWide(m_libraryPath);
    options.worker.entry = ToWide(m_entry);
    options.worker.nvml = ToWide(LowerAscii(m_nvml));
    for (const auto* words : {&m_words, &context.passedOn}) {
        for (const std::string& word : *words) {
            options.worker.words.push_back(ToWide(word));
        }
    }
    for (const std::string& text : m_variables) {
        const size_t equals = text.find('=');
        options.worker.environment.push_back(
            {ToWide(text.substr(0, equals)), ToWide(text.substr(equals + 1))});
    }
    if (m_isDemo) {
        SetDemo(FolderOf(context.defaultHost) + L"demo\\", options.worker);
    }
    options.restart = !m_noRestart;
    options.stale.staleAfter = ParseSeconds(m_staleAfter).value_or(options.stale.staleAfter);
    options.stale.restartAfter = std::max(options.stale.restartAfter, options.stale.staleAfter);
    return options;
}

}  // namespace zorvane
