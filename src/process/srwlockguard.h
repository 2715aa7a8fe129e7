/** Owning a slim lock for a scope, alone or with others. */
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

/** Acquires a slim reader-writer lock shared and releases it at the end of the scope. */
class CSrwLockSharedGuard {
  public:
    explicit CSrwLockSharedGuard(SRWLOCK& lock) : m_lock(lock) { AcquireSRWLockShared(&m_lock); }
    ~CSrwLockSharedGuard() { ReleaseSRWLockShared(&m_lock); }
    CSrwLockSharedGuard(const CSrwLockSharedGuard&) = delete;
    CSrwLockSharedGuard& operator=(const CSrwLockSharedGuard&) = delete;

  private:
    SRWLOCK& m_lock;
};
