#include "monitor/sources/workersource.h"

#include <algorithm>
#include <type_traits>
#include <utility>
#include <variant>

namespace zorvane {

CWorkerSource::CWorkerSource(const WorkerSourceOptions& options, StartEvent start,
                             std::function<Moment()> clock)
    : m_start(std::move(start)),
      m_keeper(
          options, [this](SessionEvent&& event) { OnSessionEvent(std::move(event)); },
          std::move(clock)) {
    if (options.pausesOnBattery) {
        m_battery.emplace();
    }
}

void CWorkerSource::Start(IEventSink& sink, Moment now) {
    m_sink = &sink;
    Tell(now.utc, m_start);
    if (m_battery && m_battery->Check(now)) {
        m_keeper.StartPaused();
        return;
    }
    m_keeper.Start();
}

void CWorkerSource::OnTime(Moment now) {
    if (m_battery && now.tick >= m_battery->DueTick()) {
        const bool wasOn = m_battery->IsOn();
        const bool isOn = m_battery->Check(now);
        if (isOn && !wasOn) {
            m_keeper.Pause();
        } else if (wasOn && !isOn) {
            m_keeper.Resume();
        }
    }
    m_keeper.OnTime(now);
}

std::optional<std::chrono::milliseconds> CWorkerSource::DueTick() const {
    const auto due = m_keeper.DueTick();
    if (!m_battery) {
        return due;
    }
    return due ? std::min(*due, m_battery->DueTick()) : m_battery->DueTick();
}

void CWorkerSource::Stop() { m_keeper.Stop(); }

void CWorkerSource::OnSessionEvent(SessionEvent&& event) {
    std::visit(
        [&](auto& body) {
            using Body = std::decay_t<decltype(body)>;
            if constexpr (std::is_same_v<Body, StopStepEvent>) {
                TellStopStep(event.time, body);
            } else if constexpr (std::is_same_v<Body, StartFailedEvent>) {
                Tell(event.time, NoticeEvent{"worker.not_started", Describe(body.error)});
            } else if constexpr (std::is_same_v<Body, EndEvent>) {
                const bool hasFailed = body.reason == SessionEnd::kNotStarted || m_hasHostFailed;
                m_end = hasFailed ? EndReason::kNotStarted : EndReason::kWorkerEnded;
            } else {
                if constexpr (std::is_same_v<Body, ExitEvent>) {
                    // One that was ended by force has not said that anything is wrong.
                    m_hasHostFailed = body.exit.kind == ExitKind::kHostFailure &&
                                      !body.exit.forced && !body.restartIn;
                }
                Tell(event.time, std::move(body));
            }
        },
        event.body);
}

// Being asked is what every worker's end begins with; the steps after it are worth a sentence.
void CWorkerSource::TellStopStep(UtcTime time, const StopStepEvent& event) {
    if (event.step == StopStep::kWindowTaken) {
        Tell(time, NoticeEvent{"worker.window_taken", "stopping the worker: " + event.reason +
                                                          "; taking its stub window away, which it "
                                                          "notices within five seconds"});
    }
    if (event.step == StopStep::kForced) {
        Tell(time, NoticeEvent{"worker.forced",
                               "stopping the worker: " + event.reason + "; ending it by force"});
    }
}

void CWorkerSource::Tell(UtcTime time, EventBody body) { m_sink->OnEvent({time, std::move(body)}); }

}  // namespace zorvane
