/** What the task side sees of the host. */
#pragma once

#include <windows.h>

/** The host of the tasks; handed around as std::shared_ptr<IProcess>. */
class IProcess {
  public:
    virtual ~IProcess() = default;

    /**
     * Hands one COPYDATASTRUCT to the stub window and blocks for at most one second. True only when
     * the stub took it. The caller keeps `data` and its buffer. Any thread.
     */
    virtual bool SendCopyData(const COPYDATASTRUCT* data) = 0;

    /** The entry name of the command line, empty when absent; valid as long as the host lives. */
    virtual const wchar_t* GetEntry() = 0;

    /**
     * Runs the message loop on the calling thread until it ends. Called once. Where memory ran out
     * on this thread or on the work thread, throws that exception when everything has ended.
     */
    virtual void Run() = 0;

    /** Asks the whole process to end; the result of posting WM_CLOSE. Any thread. */
    virtual BOOL Quit() = 0;

    /** True when the end was asked for within `timeoutMs` milliseconds; 0 polls. Any thread. */
    virtual bool WaitQuit(DWORD timeoutMs) = 0;

    /**
     * Writes the entry name into the first 32 characters of `buffer` (at most 31 and a NUL) and
     * sends `size` bytes to the stub as task data. Nothing happens for a null buffer or a size of
     * 0. A lost record is not reported. Any thread.
     */
    virtual void SendData(wchar_t* buffer, DWORD size) = 0;
};
