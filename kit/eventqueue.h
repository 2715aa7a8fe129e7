/** Events on their way from a session's thread to the threads that ask for them. */
#pragma once

#include <windows.h>

#include <cstdint>
#include <deque>
#include <optional>

#include "client/sessionevent.h"

namespace zorvane {

struct QueuedEvent {
    SessionEvent event;
    /** The process of the worker that runs; 0: none does. */
    DWORD workerId = 0;
};

/** Whether it is a reading that the next one replaces. */
bool IsReading(const SessionEventBody& body);

/**
 * Bounded: when it is full of readings the oldest reading goes. Other events are few and stay; of
 * what a worker says once, its hello and the static record of each GPU, the newest does. Any
 * thread.
 */
class CEventQueue {
  public:
    explicit CEventQueue(size_t mostReadings) : m_mostReadings(mostReadings) {}

    CEventQueue(const CEventQueue&) = delete;
    CEventQueue& operator=(const CEventQueue&) = delete;

    void Push(QueuedEvent event);

    /** The oldest event, waited for so long at most (INFINITE: without a limit). Empty when the
     * time is over or the queue is closed. */
    std::optional<QueuedEvent> Pop(DWORD timeoutMs);

    /** Ends every Pop, now and later, without an event. */
    void Close();

    bool IsClosed() const;

    /** Readings that were lost since the queue was made. */
    uint64_t Dropped() const;

  private:
    struct Entry {
        uint64_t number;
        QueuedEvent event;
    };

    void RemoveOlder(const SessionEventBody& body);
    std::optional<QueuedEvent> Take();

    const size_t m_mostReadings;
    mutable SRWLOCK m_lock{};
    CONDITION_VARIABLE m_arrived{};
    uint64_t m_nextNumber = 0;
    std::deque<Entry> m_readings;
    std::deque<Entry> m_others;
    uint64_t m_dropped = 0;
    bool m_isClosed = false;
};

}  // namespace zorvane
