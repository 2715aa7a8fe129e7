// What earlier runs have left behind, and what runs now.
#include <fmt/format.h>

#include <algorithm>

#include "monitor/doctor/checkgroups.h"

namespace zorvane {
namespace {

constexpr char kRunGroup[] = "Runs";

Finding DecideSwitch(const MachineFacts& facts) {
    const SwitchFacts& amdSwitch = facts.amdSwitch;
    if (amdSwitch.on) {
        return Pass(amdSwitch.written ? fmt::format("On, in {}.", amdSwitch.path)
                                      : "On: there is no settings file to switch it off.");
    }
    std::string seen =
        fmt::format("Switched off in {}, by an earlier run that could not read the temperature",
                    amdSwitch.path);
    if (amdSwitch.written) {
        seen += fmt::format(", at {} at the latest", Rfc3339(*amdSwitch.written));
    }
    const auto& first = facts.log.switchReason;
    seen += first ? fmt::format(". The log of {} tells why: {}", first->time, first->reason.text)
                  : std::string(". The log does not tell why.");
    if (const std::string reason = NoCpuTemperature(facts); !reason.empty()) {
        return Skip(seen + " " + reason);
    }
    return Fail(Blocks::kCpu, seen,
                "Once the causes above are mended, run zorvanemon reset, or set sdk_flag=1 in "
                "section [cpu_kernel] of that file.");
}

// Windows drops our messages to a process of a higher integrity, whose level it may not even tell.
bool IsAbove(const MachineFacts& facts, const ProcessFacts& worker) {
    return !worker.integrity ||
           (facts.rights.integrity && *worker.integrity > *facts.rights.integrity);
}

Finding DecideStop(const MachineFacts& facts) {
    std::vector<ProcessFacts> above = facts.workers;
    std::erase_if(above, [&](const ProcessFacts& worker) { return !IsAbove(facts, worker); });
    if (!above.empty()) {
        return Warn(fmt::format("{} has more rights than this process, so Windows drops the stop "
                                "message of a stub that runs like this one.",
                                ListProcesses(above)),
                    "Take its stub window away and wait for five seconds, or end it as "
                    "administrator.");
    }
    return Pass(facts.workers.empty()
                    ? "No worker runs. One that is started from here has the same rights and "
                      "takes the stop message."
                    : fmt::format("{} takes the stop message of a program that runs like this "
                                  "one.",
                                  ListProcesses(facts.workers)));
}

std::string EndWords(RunEnd end) {
    switch (end) {
        case RunEnd::kRunning:
            return "still runs";
        case RunEnd::kOrderly:
            return "ended in order";
        case RunEnd::kBrokenOff:
            return "broke off within its first cycles: it crashed, or was ended by force";
        case RunEnd::kUntold:
            break;
    }
    return "ended after its log was switched off, so how is not known";
}

void AddReason(const std::optional<Explanation>& missing, const char* what, std::string& seen,
               std::string& remedy) {
    if (!missing) {
        return;
    }
    seen += fmt::format(" No {}: {}", what, missing->text);
    if (!missing->remedy.empty() && remedy.find(missing->remedy) == std::string::npos) {
        remedy += (remedy.empty() ? "" : " ") + missing->remedy;
    }
}

Finding DecideLast(const MachineFacts& facts) {
    const std::optional<LastRun>& run = facts.log.lastRun;
    if (!run) {
        return Skip("The log tells of no run.");
    }
    std::string seen =
        fmt::format("Process {} of {} {}.", run->processId, run->began, EndWords(run->end));
    std::string remedy;
    AddReason(run->missing.gpu, "GPUs", seen, remedy);
    AddReason(run->missing.cpu, "CPU temperature", seen, remedy);
    // What cannot be read on this PC anyway is no news.
    const bool lacksGpu = run->missing.gpu && MayHaveNvidia(facts);
    const bool lacksCpu = run->missing.cpu && NoCpuTemperature(facts).empty();
    const bool isWell = run->end != RunEnd::kBrokenOff && !lacksGpu && !lacksCpu;
    return isWell ? Pass(seen) : Warn(seen, remedy);
}

// The switch comes last of what has remedies: it helps once everything else is mended.
constexpr Check kRunChecks[] = {
    {"run.last", kRunGroup, "Last run", &DecideLast},
    {"run.stop", kRunGroup, "Stop message", &DecideStop},
    {"run.switch", kRunGroup, "Switch of the CPU temperature", &DecideSwitch},
};

}  // namespace

std::span<const Check> RunChecks() { return kRunChecks; }

}  // namespace zorvane
