/** Locks of the base module. */
#pragma once

#include <windows.h>

namespace _BaseModule {

/** A lock. Both operations answer true, always. */
class ILocker {
  public:
    /** Waits without limit until the caller owns the lock. */
    virtual bool Lock() = 0;
    /** Gives the lock back; called on the thread that owns it. */
    virtual bool Unlock() = 0;
    virtual ~ILocker() = default;
};

/** A critical section, recursive for its owning thread. */
class CCriticalSection final : public ILocker {
  public:
    CCriticalSection();
    ~CCriticalSection() override;
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    bool Lock() override;
    bool Unlock() override;

  private:
    CRITICAL_SECTION m_section;
};

/** Guards the making and deleting of the process-wide logger. */
extern CCriticalSection g_loggerLock;

/** Free for other users of the base module. */
extern CCriticalSection g_moduleLock;

}  // namespace _BaseModule
