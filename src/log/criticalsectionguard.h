/** Owning a Win32 critical section for a scope. */
#pragma once

#include <windows.h>

/** Enters a critical section that somebody else owns, and leaves it at the end of the scope. */
class CCriticalSectionGuard {
  public:
    explicit CCriticalSectionGuard(CRITICAL_SECTION& section) : m_section(section) {
        EnterCriticalSection(&m_section);
    }
    ~CCriticalSectionGuard() { LeaveCriticalSection(&m_section); }
    CCriticalSectionGuard(const CCriticalSectionGuard&) = delete;
    CCriticalSectionGuard& operator=(const CCriticalSectionGuard&) = delete;

  private:
    CRITICAL_SECTION& m_section;
};
