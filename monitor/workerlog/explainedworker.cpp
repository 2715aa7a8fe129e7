#include "monitor/workerlog/explainedworker.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "client/commandline.h"

namespace zorvane {
namespace {

// A record that the stub does not take in time is lost, so one round without it means nothing.
constexpr int kRoundsUntilGone = 3;

MissingEvent CpuStopped() {
    return {.what = "cpu",
            .id = "cpu.stopped",
            .brief = "no longer reported",
            .text =
                "The worker no longer reports the CPU temperature, and its log does not say "
                "why.",
            .remedy = "Start the worker again."};
}

}  // namespace

CExplainedWorker::CExplainedWorker(KeeperOptions options, CWorkerKeeper::Sink sink,
                                   std::function<Moment()> clock)
    : m_sink(std::move(sink)),
      m_clock(clock),
      m_keeper(
          [&] {
              options.beforeStart = [this, library = ExpectedLibrary(options.worker)] {
                  m_log.Prepare(library);
              };
              return std::move(options);
          }(),
          [this](SessionEvent&& event) { OnEvent(std::move(event)); }, std::move(clock)) {}

void CExplainedWorker::OnTime(Moment now) {
    if (const auto due = m_log.DueTick(); due && now.tick >= *due) {
        TellMissing(m_log.Check(now.tick), now.utc);
    }
    m_keeper.OnTime(now);
}

std::optional<std::chrono::milliseconds> CExplainedWorker::DueTick() const {
    const auto kept = m_keeper.DueTick();
    const auto log = m_log.DueTick();
    // Without a time of the keeper's the worker is on its way out, and its log read at its end.
    return kept && log ? std::min(*kept, *log) : kept;
}

void CExplainedWorker::OnEvent(SessionEvent&& event) {
    const UtcTime time = event.time;
    Before(event.body, time);
    const bool isStale = std::holds_alternative<StaleEvent>(event.body);
    m_sink(std::move(event));
    if (isStale) {
        TellMissing(m_log.OnUnexplained(Tick()), time);
    }
}

// What an event means for the log, and what is to be told before it.
void CExplainedWorker::Before(const SessionEventBody& body, UtcTime time) {
    if (const auto* start = std::get_if<WorkerStartEvent>(&body)) {
        m_log.Begin(start->workerId);
        m_rounds.Drop();
        m_roundsWithoutCpu.reset();
        m_hasEndedByItself = false;
    } else if (std::holds_alternative<HelloEvent>(body)) {
        m_log.OnUp(m_keeper.LibraryPath(), Tick());
    } else if (std::holds_alternative<GpuStatic>(body)) {
        m_hasAnyReading = true;
        m_log.OnReading("gpu");
    } else if (const auto* gpu = std::get_if<GpuReading>(&body)) {
        m_hasAnyReading = true;
        m_log.OnReading("gpu");
        NoteSource(RoundSourceOf(gpu->index), time);
    } else if (std::holds_alternative<CpuTemperature>(body)) {
        m_hasAnyReading = true;
        m_log.OnReading("cpu");
        NoteSource(kCpuRoundSource, time);
    } else if (std::holds_alternative<CpuUnreadEvent>(body)) {
        NoteSource(kCpuRoundSource, time);
    } else if (const auto* exit = std::get_if<ExitEvent>(&body)) {
        m_hasEndedByItself = exit->exit.kind == ExitKind::kByItself;
        TellMissing(m_log.CheckAtEnd(m_hasEndedByItself), time);
    } else if (const auto* end = std::get_if<EndEvent>(&body)) {
        if (end->reason == SessionEnd::kWorkerEnded && m_hasEndedByItself && !m_hasAnyReading) {
            TellNothingRead(time);
        }
        m_hasAnyReading = false;
    }
}

void CExplainedWorker::NoteSource(const std::string& source, UtcTime time) {
    if (m_rounds.Holds(source)) {
        NoteRoundEnd(time);
        m_rounds.Complete();
    }
    m_rounds.Add(source);
}

// The task of the CPU temperature may have ended while the GPUs go on.
void CExplainedWorker::NoteRoundEnd(UtcTime time) {
    if (m_rounds.Holds(kCpuRoundSource)) {
        m_roundsWithoutCpu = 0;
        return;
    }
    if (!m_roundsWithoutCpu || ++*m_roundsWithoutCpu < kRoundsUntilGone) {
        return;
    }
    m_roundsWithoutCpu.reset();
    const std::vector<MissingReport> reports = m_log.OnUnexplained(Tick());
    TellMissing(reports, time);
    if (std::none_of(reports.begin(), reports.end(),
                     [](const MissingReport& report) { return report.what == "cpu"; })) {
        m_sink({time, CpuStopped()});
    }
}

void CExplainedWorker::TellMissing(const std::vector<MissingReport>& reports, UtcTime time) {
    for (const auto& [what, why] : reports) {
        m_sink({time, MissingEvent{what, why.id, why.brief, why.text, why.remedy}});
    }
}

void CExplainedWorker::TellNothingRead(UtcTime time) {
    const std::wstring log = m_log.Path();
    m_sink({time, NoticeEvent{"worker.nothing_read",
                              "the worker has ended without a reading: no NVIDIA GPU and no AMD "
                              "CPU sensor could be read" +
                                  (log.empty() ? "" : ", see the log " + ToUtf8(log))}});
}

}  // namespace zorvane
