/** Notices that a worker has fallen silent. */
#pragma once

#include <chrono>
#include <optional>

#include "client/sessionevent.h"

namespace zorvane {

struct StaleTimes {
    /** Silence after which readings count as gone. */
    std::chrono::milliseconds staleAfter = std::chrono::seconds(5);
    /** Silence after which the worker is given up; not before it is stale. */
    std::chrono::milliseconds restartAfter = std::chrono::seconds(30);
};

/**
 * Silence is the time without a complete round, or, for giving the worker up, without any sign of
 * it. It is added up from one call to the next; each step counts for kLongestStep at most,
 * so that time does not count in which the computer sleeps or this process is suspended: no reading
 * could arrive then.
 */
class CStaleness {
  public:
    static constexpr std::chrono::milliseconds kLongestStep = std::chrono::seconds(2);

    explicit CStaleness(const StaleTimes& times) : m_times(times) {}

    /** A worker has been started. */
    void Begin(Moment now);

    /** No worker runs. */
    void End() { m_runs = false; }

    /** Something has come from the worker, though perhaps nothing that can be read: it lives. */
    void OnSign(Moment now);

    /** A reading has come, which need not complete a round. */
    void OnReading(UtcTime time) { m_since = time; }

    /** A round is complete. Gives the event if there was a StaleEvent before. */
    std::optional<FreshEvent> OnRound(Moment now);

    /** Gives the event when the silence has just become too long. To be called once a second. */
    std::optional<StaleEvent> Check(Moment now);

    /**
     * Whether the worker has given no sign for so long that it is to be started again. One that
     * speaks would say the same after a new start.
     */
    bool IsHopeless() const;

    /** When to check next; empty while no worker runs. */
    std::optional<std::chrono::milliseconds> DueTick() const;

  private:
    void CountUntil(Moment now);

    const StaleTimes m_times;
    bool m_runs = false;
    /** Until when the times below are counted. */
    std::chrono::milliseconds m_counted{};
    std::chrono::milliseconds m_silence{};
    /** The time without any sign of the worker. */
    std::chrono::milliseconds m_quiet{};
    UtcTime m_since{};
    std::optional<UtcTime> m_staleSince;
};

}  // namespace zorvane
