/** Base of thread objects. */
#pragma once

#include <windows.h>

#include <atomic>

/**
 * A thread that enters a single-threaded COM apartment and runs one virtual body. The object must
 * outlive its thread; it never closes the thread's handle, so whoever copied it may still wait.
 */
class CThread {
  public:
    CThread() = default;
    /** Neither waits for the thread nor closes its handle. */
    virtual ~CThread() = default;
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    /** Starts the thread unless one is there; after a failure it can be called again. */
    virtual void Start();
    /** The body; runs on the thread. An exception that leaves it ends it, and is lost. */
    virtual void ThreadMain() {}
    /** Sets the stop flag; answers what it was (1: no body runs, or a stop was asked for). */
    virtual LONG RequestStop();
    /** Sets the stop flag; waits without limit for the thread's end on request, unless called on
     * it. */
    virtual void Stop(bool wait);
    /** Clears the stop flag; answers what it was. */
    virtual LONG ResetStop();

  protected:
    HANDLE ThreadHandle() const { return m_handle; }
    unsigned ThreadId() const { return m_threadId; }

  private:
    static unsigned __stdcall ThreadEntry(void* parameter);

    std::atomic<LONG> m_stopFlag{1};
    HANDLE m_handle = nullptr;
    unsigned m_threadId = 0;
};
