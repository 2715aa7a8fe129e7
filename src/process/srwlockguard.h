/** Owning a slim lock for a scope. */
#pragma once

#include <windows.h>

/** Acquires a slim reader-writer lock exclusively and releases it at the end of the scope. */
class CSrwLockGuard {
  public:
    explicit CSrwLockGuard(SRWLOCK& lock) : m_lock(lock) { AcquireSRWLockExclusive(&m_lock); }
    ~CSrwLockGuard() { ReleaseSRWLockExclusive(&m_lock); }
    CSrwLockGuard(const CSrwLockGuard&) = delete;
    CSrwLockGuard& operator=(const CSrwLockGuard&) = delete;

  private:
    SRWLOCK& m_lock;
};
