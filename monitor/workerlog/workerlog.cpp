#include "monitor/workerlog/workerlog.h"

#include <utility>

#include "monitor/workerlog/logtrouble.h"

namespace zorvane {
namespace {

using namespace std::chrono_literals;

// A worker finds out within seconds of its start what it cannot read.
constexpr auto kStartTime = 10s;
constexpr auto kPauseAtStart = 250ms;
constexpr auto kPause = 1s;

// For the end of a worker, which nobody waits for any more.
constexpr int kReadsAtEnd = 64;

bool EndsTheLog(const Explanation& explanation) {
    return explanation.id == "log.off" || explanation.id == "log.full";
}

}  // namespace

void CWorkerLog::Prepare(const std::wstring& expectedLibrary) {
    *this = CWorkerLog();
    m_follower.Follow(LogPathOf(expectedLibrary));
    m_follower.SkipToEnd();
}

void CWorkerLog::Begin(DWORD workerId) { m_workerId = workerId; }

void CWorkerLog::OnUp(const std::wstring& library, Tick now) {
    // A worker says hello once; what claims to be a second one changes nothing.
    if (m_upTick) {
        return;
    }
    m_upTick = now;
    m_lastCheck = now;
    if (library.empty()) {
        return;
    }
    m_isPlaceKnown = true;
    const std::wstring path = LogPathOf(library);
    if (_wcsicmp(path.c_str(), m_follower.Path().c_str()) != 0) {
        m_follower.Follow(path);
    }
}

void CWorkerLog::OnReading(const std::string& what) { m_reported.erase(what); }

std::vector<MissingReport> CWorkerLog::Check(Tick now) {
    Reports reports;
    if (!DueTick()) {
        return reports;
    }
    m_lastCheck = now;
    ReadNew();
    ReportReadings(m_diagnosis.Settled(), reports);
    if (!m_hasLines && now - *m_upTick >= kPatience) {
        ReportLog(reports);
    }
    return reports;
}

std::vector<MissingReport> CWorkerLog::OnUnexplained(Tick now) {
    Reports reports = Check(now);
    if (m_silenced) {
        Report("log", *m_silenced, reports);
    }
    return reports;
}

std::vector<MissingReport> CWorkerLog::CheckAtEnd(bool byItself) {
    Reports reports;
    ReadNew();
    for (int i = 1; i < kReadsAtEnd && m_follower.HasMore(); ++i) {
        ReadNew();
    }
    ReportReadings(byItself ? m_diagnosis.Missing() : m_diagnosis.Settled(), reports);
    if (byItself && !m_hasLines && m_upTick) {
        ReportLog(reports);
    }
    m_upTick.reset();
    return reports;
}

// Nobody asks before the worker is up: until then it may have to delete the file.
std::optional<CWorkerLog::Tick> CWorkerLog::DueTick() const {
    if (!m_upTick || m_silenced) {
        return std::nullopt;
    }
    const bool isStart = m_lastCheck - *m_upTick < kStartTime;
    return m_lastCheck + (isStart ? Tick(kPauseAtStart) : Tick(kPause));
}

std::wstring CWorkerLog::Path() const { return m_hasLines ? m_follower.Path() : std::wstring(); }

void CWorkerLog::ReadNew() {
    for (const std::string& line : m_follower.Read()) {
        Add(line);
    }
}

void CWorkerLog::Add(const std::string& text) {
    const std::optional<LogLine> line = ParseLogLine(text);
    if (!line || line->processId != m_workerId) {
        return;
    }
    m_hasLines = true;
    m_diagnosis.Add(*line);
    const auto explanation = ExplainLine(line->source, line->message);
    if (explanation && EndsTheLog(*explanation)) {
        m_silenced = explanation;
    }
}

void CWorkerLog::ReportReadings(const MissingReadings& missing, Reports& reports) {
    if (missing.gpu) {
        Report("gpu", *missing.gpu, reports);
    }
    if (missing.cpu) {
        Report("cpu", *missing.cpu, reports);
    }
}

void CWorkerLog::ReportLog(Reports& reports) {
    Report("log",
           m_isPlaceKnown ? ExplainMissingLog(m_follower.Path(), m_follower.Failure())
                          : ExplainUnknownLog(),
           reports);
}

void CWorkerLog::Report(const std::string& what, const Explanation& why, Reports& reports) {
    std::string& reported = m_reported[what];
    if (reported != why.id) {
        reported = why.id;
        reports.push_back({what, why});
    }
}

}  // namespace zorvane
