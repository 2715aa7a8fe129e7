/** A thread that owns the log's mutex. */
#pragma once

#include <windows.h>

#include <future>
#include <string>
#include <thread>

#include "base/handle.h"

/**
 * Creates the named mutex, if need be, and owns it on a thread of its own from construction until
 * Release or Abandon. The mutex exists at least as long as the holder.
 */
class CMutexHolder {
  public:
    /** Throws std::runtime_error when the mutex does not come free within seconds. */
    explicit CMutexHolder(const std::wstring& name);
    /** Releases the mutex if that has not been done. */
    ~CMutexHolder();
    CMutexHolder(const CMutexHolder&) = delete;
    CMutexHolder& operator=(const CMutexHolder&) = delete;

    /** Gives the mutex back. */
    void Release() { End(true); }
    /** Ends the owning thread, which still owns the mutex. */
    void Abandon() { End(false); }

  private:
    void Hold(std::promise<DWORD> taken);
    void End(bool release);

    zorvane::CUniqueHandle m_mutex;
    std::promise<bool> m_release;
    std::thread m_thread;
};

/** Whether an uninvolved thread can take the named mutex now; it is released again. */
bool IsMutexFree(const std::wstring& name);
