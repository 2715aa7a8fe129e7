#include "client/c/eventqueue.h"

#include <algorithm>
#include <utility>

#include "src/process/srwlockguard.h"

namespace zorvane {

bool IsReading(const SessionEventBody& body) {
    return std::holds_alternative<GpuReading>(body) ||
           std::holds_alternative<CpuTemperature>(body) ||
           std::holds_alternative<CpuUnreadEvent>(body);
}

void CEventQueue::Push(QueuedEvent event) {
    const CSrwLockGuard guard(m_lock);
    if (m_isClosed) {
        return;
    }
    const uint64_t number = m_nextNumber++;
    if (IsReading(event.event.body)) {
        m_readings.push_back({number, std::move(event)});
        if (m_readings.size() > m_mostReadings) {
            m_readings.pop_front();
            ++m_dropped;
        }
    } else {
        RemoveStaticOf(event.event.body);
        m_others.push_back({number, std::move(event)});
    }
    WakeConditionVariable(&m_arrived);
}

// A worker that repeats its static records must not grow a queue that nobody reads.
void CEventQueue::RemoveStaticOf(const SessionEventBody& body) {
    const auto* fixed = std::get_if<GpuStatic>(&body);
    if (!fixed) {
        return;
    }
    const auto isOlder = [fixed](const Entry& entry) {
        const auto* other = std::get_if<GpuStatic>(&entry.event.event.body);
        return other && other->first.index == fixed->first.index;
    };
    m_others.erase(std::remove_if(m_others.begin(), m_others.end(), isOlder), m_others.end());
}

std::optional<QueuedEvent> CEventQueue::Pop(DWORD timeoutMs) {
    const ULONGLONG end = GetTickCount64() + timeoutMs;
    const CSrwLockGuard guard(m_lock);
    while (true) {
        if (m_isClosed) {
            return std::nullopt;
        }
        if (auto event = Take()) {
            return event;
        }
        const ULONGLONG now = GetTickCount64();
        const DWORD rest = timeoutMs == INFINITE ? INFINITE : static_cast<DWORD>(end - now);
        if (timeoutMs != INFINITE && now >= end) {
            return std::nullopt;
        }
        SleepConditionVariableSRW(&m_arrived, &m_lock, rest, 0);
    }
}

std::optional<QueuedEvent> CEventQueue::Take() {
    if (m_readings.empty() && m_others.empty()) {
        return std::nullopt;
    }
    const bool takesReading =
        m_others.empty() ||
        (!m_readings.empty() && m_readings.front().number < m_others.front().number);
    std::deque<Entry>& from = takesReading ? m_readings : m_others;
    QueuedEvent event = std::move(from.front().event);
    from.pop_front();
    return event;
}

void CEventQueue::Close() {
    const CSrwLockGuard guard(m_lock);
    m_isClosed = true;
    WakeAllConditionVariable(&m_arrived);
}

bool CEventQueue::IsClosed() const {
    const CSrwLockGuard guard(m_lock);
    return m_isClosed;
}

uint64_t CEventQueue::Dropped() const {
    const CSrwLockGuard guard(m_lock);
    return m_dropped;
}

}  // namespace zorvane
