#include "client/c/sessiontable.h"

#include <utility>

#include "src/process/srwlockguard.h"

namespace zorvane {

uint64_t CSessionTable::Add(std::shared_ptr<CClientSession> session) {
    const CSrwLockGuard guard(m_lock);
    m_sessions.emplace(m_last + 1, std::move(session));
    return ++m_last;
}

std::shared_ptr<CClientSession> CSessionTable::Find(uint64_t number) {
    const CSrwLockGuard guard(m_lock);
    const auto found = m_sessions.find(number);
    return found == m_sessions.end() ? nullptr : found->second;
}

std::shared_ptr<CClientSession> CSessionTable::Remove(uint64_t number) {
    const CSrwLockGuard guard(m_lock);
    const auto found = m_sessions.find(number);
    if (found == m_sessions.end()) {
        return nullptr;
    }
    std::shared_ptr<CClientSession> session = std::move(found->second);
    m_sessions.erase(found);
    return session;
}

}  // namespace zorvane
