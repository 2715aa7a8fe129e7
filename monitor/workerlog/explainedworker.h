/** A kept worker, with the reasons for what it does not give. */
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "client/roundtracker.h"
#include "client/workerkeeper.h"
#include "monitor/workerlog/workerlog.h"

namespace zorvane {

/** Does what CWorkerKeeper does, and tells MissingEvents, from the worker's log, among its events.
 */
class CExplainedWorker {
  public:
    /** As for CWorkerKeeper; `options.beforeStart` is set here. */
    CExplainedWorker(KeeperOptions options, CWorkerKeeper::Sink sink,
                     std::function<Moment()> clock = ReadMoment);

    CExplainedWorker(const CExplainedWorker&) = delete;
    CExplainedWorker& operator=(const CExplainedWorker&) = delete;

    void Start() { m_keeper.Start(); }
    void Stop() { m_keeper.Stop(); }
    void Pause() { m_keeper.Pause(); }
    void Resume() { m_keeper.Resume(); }
    void OnTime(Moment now);
    std::optional<std::chrono::milliseconds> DueTick() const;
    bool IsActive() const { return m_keeper.IsActive(); }

  private:
    void OnEvent(SessionEvent&& event);
    void Before(const SessionEventBody& body, UtcTime time);
    void NoteSource(const std::string& source, UtcTime time);
    void NoteRoundEnd(UtcTime time);
    void TellMissing(const std::vector<MissingReport>& reports, UtcTime time);
    void TellNothingRead(UtcTime time);
    std::chrono::milliseconds Tick() const { return m_clock().tick; }

    const CWorkerKeeper::Sink m_sink;
    const std::function<Moment()> m_clock;
    CWorkerLog m_log;
    CRoundTracker m_rounds;
    /** Complete rounds since the last one with a CPU temperature; empty: this worker gave none. */
    std::optional<int> m_roundsWithoutCpu;
    /** Whether any worker since the start has given a reading. */
    bool m_hasAnyReading = false;
    bool m_hasEndedByItself = false;
    /** Last: its events use the others. */
    CWorkerKeeper m_keeper;
};

}  // namespace zorvane
