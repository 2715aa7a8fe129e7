#include "monitor/sources/workersource.h"

#include <type_traits>
#include <utility>
#include <variant>

#include "base/callerror.h"

namespace zorvane {
namespace {

// The first step is the one that everybody expects; only the others are worth a word.
std::optional<EventBody> NoticeOf(const StopStepEvent& step) {
    switch (step.step) {
        case StopStep::kWindowTaken:
            return NoticeEvent{"worker.window_taken",
                               "stopping the worker: " + step.reason +
                                   "; taking its stub window away, which it notices within five "
                                   "seconds"};
        case StopStep::kForced:
            return NoticeEvent{"worker.forced",
                               "stopping the worker: " + step.reason + "; ending it by force"};
        default:
            return std::nullopt;
    }
}

// The event of a run that a session's event is; none for what a run tells otherwise.
std::optional<EventBody> AsRunEvent(SessionEventBody&& body) {
    return std::visit(
        [](auto&& event) -> std::optional<EventBody> {
            using Kind = std::decay_t<decltype(event)>;
            if constexpr (std::is_same_v<Kind, StopStepEvent>) {
                return NoticeOf(event);
            } else if constexpr (std::is_same_v<Kind, StartFailedEvent>) {
                return NoticeEvent{"worker.not_started", Describe(event.error)};
            } else if constexpr (std::is_same_v<Kind, PausedEvent>) {
                return NoticeEvent{"worker.paused", "no worker runs while paused"};
            } else if constexpr (std::is_same_v<Kind, ResumedEvent>) {
                return NoticeEvent{"worker.resumed", "going on after the pause"};
            } else if constexpr (std::is_same_v<Kind, EndEvent>) {
                return std::nullopt;
            } else {
                return std::move(event);
            }
        },
        std::move(body));
}

}  // namespace

CWorkerSource::CWorkerSource(WorkerSourceOptions options, StartEvent start,
                             std::function<Moment()> clock)
    : m_start(std::move(start)),
      m_worker(
          std::move(options), [this](SessionEvent&& event) { OnEvent(std::move(event)); },
          std::move(clock)) {}

void CWorkerSource::Start(IEventSink& sink, Moment now) {
    m_sink = &sink;
    m_sink->OnEvent({now.utc, m_start});
    m_worker.Start();
}

void CWorkerSource::OnEvent(SessionEvent&& event) {
    if (const auto* end = std::get_if<EndEvent>(&event.body)) {
        m_end = end->reason == SessionEnd::kNotStarted ? EndReason::kNotStarted
                                                       : EndReason::kWorkerEnded;
    }
    if (auto body = AsRunEvent(std::move(event.body))) {
        m_sink->OnEvent({event.time, std::move(*body)});
    }
}

}  // namespace zorvane
