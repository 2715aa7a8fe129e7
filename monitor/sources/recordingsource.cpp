#include "monitor/sources/recordingsource.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <variant>

#include "base/text.h"
#include "monitor/json/readjsonline.h"

namespace zorvane {
namespace {

// The most events in one go, before the run gets its turn again.
constexpr int kEventsInARow = 256;

}  // namespace

CRecordingSource::CRecordingSource(RecordingSourceOptions options)
    : m_options(std::move(options)) {}

void CRecordingSource::Start(IEventSink& sink, Moment now) {
    m_sink = &sink;
    m_startTick = now.tick;
    m_lastTime = now.utc;
    if (const auto error = m_reader.Open(m_options.path)) {
        m_sink->OnEvent({now.utc, NoticeEvent{"recording.open", Describe(*error)}});
        m_end = EndReason::kRecordingBad;
        return;
    }
    ReadNext();
}

void CRecordingSource::OnTime(Moment now) {
    for (int told = 0; told < kEventsInARow && !m_end && m_nextTick <= now.tick; ++told) {
        TellNext();
    }
}

std::optional<std::chrono::milliseconds> CRecordingSource::DueTick() const { return m_nextTick; }

void CRecordingSource::Stop() {
    if (!m_end) {
        m_end = EndReason::kRecordingEnded;
    }
}

void CRecordingSource::TellNext() {
    const Event event = *std::exchange(m_next, std::nullopt);
    m_lastTime = event.time;
    if (std::holds_alternative<WorkerStartEvent>(event.body)) {
        m_workerRuns = true;
    }
    const auto* notice = std::get_if<NoticeEvent>(&event.body);
    if (std::holds_alternative<ExitEvent>(event.body) ||
        (notice && notice->id == kContinuedNotice)) {
        m_workerRuns = false;
    }
    m_sink->OnEvent(event);
    if (!m_end) {
        ReadNext();
    }
}

void CRecordingSource::ReadNext() {
    const std::optional<TextLine> line = m_reader.Next();
    if (!line && m_reader.Failure()) {
        Fail(m_lines + 1, Describe(*m_reader.Failure()));
        return;
    }
    if (!line && m_lines == 0) {
        Fail(1, "the file is empty");
        return;
    }
    if (!line && m_workerRuns) {
        Fail(m_lines, "the recording ends while its worker runs: the rest is missing");
        return;
    }
    if (!line) {
        m_end = EndReason::kRecordingEnded;
        return;
    }
    m_lines = line->number;
    if (line->number == 1 &&
        (line->text.starts_with("\xFF\xFE") || line->text.starts_with("\xFE\xFF"))) {
        Fail(1,
             "UTF-16 text; a recording is UTF-8 as zorvanemon writes it, which the > of some "
             "shells does not keep");
        return;
    }
    if (!line->isWhole) {
        Fail(line->number, "the line is cut off");
        return;
    }
    const auto read = ReadJsonLine(line->text);
    if (const auto* error = std::get_if<LineError>(&read)) {
        Fail(line->number,
             line->number == 1 ? "this is no recording: " + error->text : error->text);
        return;
    }
    m_next = std::get<Event>(read);
    if (line->number == 1 && !std::holds_alternative<StartEvent>(m_next->body)) {
        Fail(1, "this is no recording from its beginning: the first \"type\" is not start");
        return;
    }
    if (std::holds_alternative<StartEvent>(m_next->body)) {
        // Where recordings were joined, do not wait for the time between them.
        m_startTick = std::max(m_startTick, m_nextTick);
        m_startTime = m_next->time;
    }
    // If the clock was set back during the recording, go on without a pause.
    m_nextTick = std::max(m_nextTick, TickOf(m_next->time));
}

std::chrono::milliseconds CRecordingSource::TickOf(UtcTime time) const {
    if (!m_options.speed) {
        return m_startTick;
    }
    constexpr double kLongestPause = 1e15;
    const double pause = static_cast<double>((time - m_startTime).count()) / *m_options.speed;
    return m_startTick +
           std::chrono::milliseconds(static_cast<int64_t>(std::clamp(pause, 0.0, kLongestPause)));
}

void CRecordingSource::Fail(uint64_t line, const std::string& what) {
    m_next.reset();
    m_end = EndReason::kRecordingBad;
    m_sink->OnEvent({m_lastTime, NoticeEvent{"recording.line",
                                             fmt::format("{}, line {}: {}", ToUtf8(m_options.path),
                                                         line, what)}});
}

}  // namespace zorvane
