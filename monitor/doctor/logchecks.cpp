// The worker's log: without it nobody learns why a reading is missing.
#include <fmt/format.h>

#include <algorithm>

#include "monitor/doctor/checkgroups.h"

namespace zorvane {
namespace {

constexpr char kLogGroup[] = "Log";
// At which the worker stops logging.
constexpr uint64_t kSizeLimit = 100ull * 1024 * 1024;

Finding DecideFolder(const MachineFacts& facts) {
    const LogFacts& log = facts.log;
    if (!log.folderExists) {
        return Warn(fmt::format("There is no folder {}, so the worker writes no log.", log.folder),
                    "Make the folder Log beside Zorvane.dll.");
    }
    if (!log.folderWritable) {
        return Warn(fmt::format("This user may not write into {}, so the worker writes no log.",
                                log.folder),
                    "Let the user who starts the worker write into the folder Log beside "
                    "Zorvane.dll.");
    }
    return Pass(log.folder);
}

std::string Size(uint64_t bytes) {
    constexpr uint64_t kKib = 1024;
    return bytes < kKib * kKib ? fmt::format("{} KiB", (bytes + kKib - 1) / kKib)
                               : fmt::format("{} MiB", bytes / (kKib * kKib));
}

std::string Age(std::chrono::milliseconds age) {
    using namespace std::chrono;
    const auto minutesOld = duration_cast<minutes>(age).count();
    if (minutesOld < 1) {
        return "within the last minute";
    }
    if (minutesOld < 120) {
        return fmt::format("{} minutes ago", minutesOld);
    }
    const auto hoursOld = duration_cast<hours>(age).count();
    return hoursOld < 48 ? fmt::format("{} hours ago", hoursOld)
                         : fmt::format("{} days ago", hoursOld / 24);
}

Finding DecideLogFile(const MachineFacts& facts) {
    const LogFacts& log = facts.log;
    if (log.fileIsFolder) {
        return Warn(fmt::format("A folder has the log's name, so the worker writes none: {}",
                                log.file.path),
                    "Remove the folder.");
    }
    if (!log.file.exists) {
        return Pass("There is none yet: no worker has written it.");
    }
    const std::string seen =
        fmt::format("{}, {}, last written {}{}.", log.file.path, Size(log.file.size),
                    log.file.written ? Age(facts.now - *log.file.written) : "at an unknown time",
                    log.keptOn ? "; it is kept on by the .on file beside it" : "");
    return log.file.size > kSizeLimit
               ? Warn(seen + " It is full: workers log no more.",
                      "Delete Qorvella_HardwareDll.log.on if it is there, end all workers and "
                      "start one: the first to start replaces the file.")
               : Pass(seen);
}

bool IsOfOtherSession(const MachineFacts& facts) {
    return std::any_of(facts.log.writers.begin(), facts.log.writers.end(),
                       [&](const ProcessFacts& writer) {
                           return writer.session && *writer.session != facts.rights.session;
                       });
}

Finding DecideWriters(const MachineFacts& facts) {
    const LogFacts& log = facts.log;
    const std::string names = ListProcesses(log.writers);
    if (log.mutex == MutexState::kDenied) {
        return Warn(fmt::format("A worker with other rights writes it{}; one that is started from "
                                "here would write no log.",
                                names.empty() ? "" : ": " + names),
                    "End that worker, or give each its own copy of the library in a folder of its "
                    "own.");
    }
    if (IsOfOtherSession(facts)) {
        return Warn(fmt::format("A worker of another session writes it, {}: the two do not wait "
                                "for each other, and a worker that starts here deletes its log.",
                                names),
                    "Give each its own copy of the library in a folder of its own.");
    }
    if (!names.empty()) {
        return Pass(fmt::format("{}; a worker that starts now writes behind it.", names));
    }
    return Pass(log.mutex == MutexState::kInUse
                    ? "A process of this session; a worker that starts now writes behind it."
                    : "Nobody; a worker that starts now writes the log anew.");
}

constexpr Check kLogChecks[] = {
    {"log.folder", kLogGroup, "Folder", &DecideFolder},
    {"log.file", kLogGroup, "File", &DecideLogFile},
    {"log.writers", kLogGroup, "Who writes it", &DecideWriters},
};

}  // namespace

std::span<const Check> LogChecks() { return kLogChecks; }

std::string ListProcesses(const std::vector<ProcessFacts>& processes) {
    std::string list;
    for (const ProcessFacts& process : processes) {
        list += fmt::format("{}{} ({})", list.empty() ? "" : ", ", process.name, process.id);
    }
    return list;
}

}  // namespace zorvane
