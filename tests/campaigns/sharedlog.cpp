#include "tests/campaigns/sharedlog.h"

#include <map>
#include <memory>
#include <sstream>

#include "client/reasons/logline.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/log/logwriterprocess.h"

namespace {

constexpr size_t kProcesses = 8;
constexpr size_t kBurst = 1000;

std::string MutexName(const std::wstring& path) {
    std::string name(path.begin(), path.end());
    std::erase(name, ':');
    std::erase(name, '\\');
    return name;
}

using Writers = std::vector<std::unique_ptr<CLogWriterProcess>>;

void WriteRound(const Writers& writers, const std::wstring& path) {
    const std::string burst = "burst " + std::to_string(kBurst);
    // Ended with the mutex while the others begin; their lines wait in their queues.
    CLogWriterProcess holder(path);
    holder.Do("hold " + MutexName(path));
    for (const auto& writer : writers) {
        writer->Begin(burst);
    }
    holder.Kill();
    for (const auto& writer : writers) {
        writer->Finish();
    }
}

class CChecker {
  public:
    CChecker(LogFigures& figures, const Reporter& report) : m_figures(figures), m_report(report) {}

    void Take(const std::string& line) {
        const std::optional<zorvane::LogLine> parsed = zorvane::ParseLogLine(line);
        if (!parsed || !line.ends_with('\r')) {
            Find("not a whole line: " + line);
            return;
        }
        if (!parsed->message.starts_with('-')) {
            TakeNumber(parsed->processId, parsed->message);
        }
    }

    void Check(size_t rounds) {
        if (m_next.size() != kProcesses) {
            Find(std::to_string(m_next.size()) + " processes have written");
        }
        for (const auto& [process, next] : m_next) {
            if (next != rounds * kBurst) {
                Find("process " + std::to_string(process) + " has " + std::to_string(next) +
                     " lines");
            }
        }
    }

  private:
    void TakeNumber(uint32_t process, const std::string& message) {
        ++m_figures.lines;
        const size_t expected = m_next[process]++ % kBurst;
        if (message != std::to_string(expected)) {
            Find("process " + std::to_string(process) + ": \"" + message + "\" in place of " +
                 std::to_string(expected));
        }
    }

    void Find(const std::string& finding) {
        constexpr size_t kTold = 20;
        if (m_figures.findings++ < kTold) {
            m_report(finding);
        }
    }

    LogFigures& m_figures;
    const Reporter& m_report;
    // By process: how many of its lines have come.
    std::map<uint32_t, size_t> m_next;
};

}  // namespace

LogFigures RunSharedLog(size_t rounds, const Reporter& report) {
    const CTempFolder folder;
    const std::wstring path = folder.PathOf(L"shared.log");
    LogFigures figures{kProcesses, 0, rounds, 0};
    Writers writers;
    for (size_t process = 0; process < kProcesses; ++process) {
        writers.push_back(std::make_unique<CLogWriterProcess>(path));
    }
    for (size_t round = 0; round < rounds; ++round) {
        WriteRound(writers, path);
    }
    // Closing waits for the mutex, so that what was queued comes too.
    for (const auto& writer : writers) {
        writer->Do("close");
    }
    CChecker checker(figures, report);
    std::istringstream text(ReadFileBytes(path));
    for (std::string line; std::getline(text, line);) {
        checker.Take(line);
    }
    checker.Check(rounds);
    return figures;
}

std::string Summary(const LogFigures& figures) {
    return std::to_string(figures.processes) + " processes, " + std::to_string(figures.lines) +
           " lines, " + std::to_string(figures.killed) + " more ended while they held the mutex; " +
           std::to_string(figures.findings) + " findings (lines torn, lost or out of order)";
}
