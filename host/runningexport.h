/** The library's export while it runs, as the other threads of the host see it. */
#pragma once

#include <windows.h>

#include "base/handle.h"

/**
 * Made on the thread that then enters the export. Everything else may be called from any thread.
 * The console and the session reach the host on threads of their own, at any time until the process
 * ends: a program makes one of these and never destroys it.
 */
class CRunningExport {
  public:
    /** `stub` is the stub's process; null when it is not known. */
    explicit CRunningExport(zorvane::CUniqueHandle stub);

    /** The stub's process, null when it is not known. */
    HANDLE Stub() const { return m_stub.get(); }

    /** Whether the stub is known and still running, so that it can end the worker itself. */
    bool HasStub() const;

    /**
     * Asks the worker to end in order, with the same message as the stub. False when the worker did
     * not take it: its window does not exist yet or no longer, or its loop is busy.
     */
    bool AskToEnd() const;

    /** Says that the export has returned and that what it left behind has been cleared away. */
    void SetEnded() const { SetEvent(m_ended.get()); }

    /** Waits for SetEnded; false when that takes longer than `timeoutMs`. */
    bool WaitForEnd(DWORD timeoutMs) const;

  private:
    const zorvane::CUniqueHandle m_stub;
    const zorvane::CUniqueHandle m_ended;
    const DWORD m_thread;
};
