#include "monitor/doctor/readlog.h"

#include <fmt/format.h>

#include <algorithm>

namespace zorvane {
namespace {

constexpr char kSwitchedOff[] = "amd.switched_off";

std::string TimeText(const LogTime& time) {
    return fmt::format("{:02}-{:02} {:02}:{:02}:{:02}", time.month, time.day, time.hour,
                       time.minute, time.second);
}

std::string LineText(const LogLine& line) {
    const std::string source = line.source.empty() ? "" : "[" + line.source + "] ";
    return fmt::format("{}.{:03} {}{}", TimeText(line.time), line.time.millisecond, source,
                       line.message);
}

bool Logged(const std::vector<ExplainedLine>& lines, std::string_view id) {
    return std::any_of(lines.begin(), lines.end(), [&](const ExplainedLine& line) {
        return line.meaning && line.meaning->id == id;
    });
}

RunEnd EndOf(const std::vector<ExplainedLine>& lines, bool isRunning) {
    if (isRunning) {
        return RunEnd::kRunning;
    }
    if (Logged(lines, "worker.end") || Logged(lines, "worker.work_end")) {
        return RunEnd::kOrderly;
    }
    return Logged(lines, "log.off") || Logged(lines, "log.full") ? RunEnd::kUntold
                                                                 : RunEnd::kBrokenOff;
}

// The process whose run began last, or that wrote last where the begin of the log is missing.
uint32_t LastProcess(const std::vector<LogLine>& lines) {
    const auto start = std::find_if(lines.rbegin(), lines.rend(), &IsRunStart);
    return start == lines.rend() ? lines.back().processId : start->processId;
}

}  // namespace

std::optional<LastRun> FindLastRun(const std::vector<LogLine>& lines,
                                   const std::function<bool(uint32_t)>& isRunning,
                                   const std::function<std::string(const std::string&)>& toUtf8) {
    if (lines.empty()) {
        return std::nullopt;
    }
    LastRun run;
    run.processId = LastProcess(lines);
    const std::vector<LogLine> own = LatestRun(lines, run.processId);
    run.began = TimeText(own.front().time);
    run.missing = FindMissingReadings(own);
    std::string previousMarker;
    for (const LogLine& line : own) {
        if (line.level.empty() && line.message == previousMarker) {
            continue;
        }
        previousMarker = line.level.empty() ? line.message : "";
        run.lines.push_back({toUtf8(LineText(line)), ExplainLine(line.source, line.message)});
    }
    run.end = EndOf(run.lines, isRunning(run.processId));
    return run;
}

std::optional<SwitchReason> FindSwitchReason(const std::vector<LogLine>& lines) {
    for (size_t i = 0; i < lines.size(); ++i) {
        if (!IsRunStart(lines[i])) {
            continue;
        }
        // Up to the next start of the same process id, which belongs to another process.
        CRunDiagnosis diagnosis;
        for (size_t j = i; j < lines.size(); ++j) {
            if (lines[j].processId != lines[i].processId) {
                continue;
            }
            if (j > i && IsRunStart(lines[j])) {
                break;
            }
            diagnosis.Add(lines[j]);
        }
        const auto& cpu = diagnosis.Missing().cpu;
        if (cpu && cpu->id != kSwitchedOff && cpu->concern != Concern::kWorker) {
            return SwitchReason{TimeText(lines[i].time), *cpu};
        }
    }
    return std::nullopt;
}

std::vector<uint32_t> LogProcesses(const std::vector<LogLine>& lines) {
    std::vector<uint32_t> ids;
    for (const LogLine& line : lines) {
        if (std::find(ids.begin(), ids.end(), line.processId) == ids.end()) {
            ids.push_back(line.processId);
        }
    }
    return ids;
}

}  // namespace zorvane
