#pragma once

#include <optional>
#include <string>

#include "monitor/sources/linereader.h"
#include "monitor/sources/source.h"

namespace zorvane {

struct RecordingSourceOptions {
    std::wstring path;
    /** How many times as fast as recorded; empty: without pauses. */
    std::optional<double> speed = 1.0;
};

/** Gives the events of a recording again, with the times at which they happened. */
class CRecordingSource : public ISource {
  public:
    explicit CRecordingSource(RecordingSourceOptions options);

    void Start(IEventSink& sink, Moment now) override;
    void OnTime(Moment now) override;
    std::optional<std::chrono::milliseconds> DueTick() const override;
    void Stop() override;
    std::optional<EndReason> End() const override { return m_end; }

  private:
    void ReadNext();
    void TellNext();
    void Fail(uint64_t line, const std::string& what);
    std::chrono::milliseconds TickOf(UtcTime time) const;

    const RecordingSourceOptions m_options;
    CLineReader m_reader;
    IEventSink* m_sink = nullptr;
    /** Read, but not due yet. */
    std::optional<Event> m_next;
    std::chrono::milliseconds m_nextTick{};
    /** When the replay of the last StartEvent is due, and the time it carries. */
    std::chrono::milliseconds m_startTick{};
    UtcTime m_startTime{};
    UtcTime m_lastTime{};
    uint64_t m_lines = 0;
    bool m_workerRuns = false;
    std::optional<EndReason> m_end;
};

}  // namespace zorvane
