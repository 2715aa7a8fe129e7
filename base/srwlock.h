/** Holding a slim lock. The DLLs' compiler brings no std::mutex. */
#pragma once

#include <windows.h>

namespace zorvane {

/** Holds the lock exclusively as long as it lives. */
class CSrwLockGuard {
  public:
    explicit CSrwLockGuard(SRWLOCK& lock) : m_lock(lock) { AcquireSRWLockExclusive(&m_lock); }
    ~CSrwLockGuard() { ReleaseSRWLockExclusive(&m_lock); }
    CSrwLockGuard(const CSrwLockGuard&) = delete;
    CSrwLockGuard& operator=(const CSrwLockGuard&) = delete;

  private:
    SRWLOCK& m_lock;
};

}  // namespace zorvane
