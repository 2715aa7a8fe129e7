/** The process that a worker runs in. */
#pragma once

#include <windows.h>

#include <optional>

#include "base/callerror.h"
#include "base/handle.h"
#include "client/commandline.h"

namespace zorvane {

/**
 * One worker process. It does not end with this object, nor with the stub: it has to end in order,
 * or AMD's driver service stays installed. A worker that is let go ends by itself when it finds
 * its stub window gone; if it hangs, the host ends it 15 seconds after the stub's process.
 * One thread.
 */
class CWorkerProcess {
  public:
    /** The exit code of a worker that Terminate has ended. */
    static constexpr DWORD kTerminatedCode = ERROR_PROCESS_ABORTED;

    CWorkerProcess() = default;
    ~CWorkerProcess() { Close(); }
    CWorkerProcess(const CWorkerProcess&) = delete;
    CWorkerProcess& operator=(const CWorkerProcess&) = delete;

    /**
     * Starts the host for `stubWindow` and has `endMessage` posted to `endWindow` once, when the
     * process has ended. The worker is in a process group of its own, so that Ctrl+C reaches only
     * the stub, which can then end the worker in order. Returns the error if it fails; then no
     * process is left behind.
     */
    [[nodiscard]] std::optional<CallError> Start(const WorkerCommand& command, HWND stubWindow,
                                                 HWND endWindow, UINT endMessage);

    /** Ends the process by force if it still runs. Returns the error if it fails. */
    std::optional<CallError> Terminate();

    /** Lets go of the process, which keeps running; no message is posted when it ends. */
    void Close();

    /** With all rights; stays this object's. Null when no process was started. */
    HANDLE Handle() const { return m_process.get(); }

    /** 0 when no process was started. */
    DWORD Id() const { return m_id; }

    /** Empty while the process runs, and when none was started. */
    std::optional<DWORD> ExitCode() const;

  private:
    struct EndNotice {
        HWND window = nullptr;
        UINT message = 0;
    };

    static void CALLBACK OnEnd(void* notice, BOOLEAN) noexcept;

    DWORD m_id = 0;
    CUniqueHandle m_process;
    HANDLE m_wait = nullptr;
    EndNotice m_notice;
};

}  // namespace zorvane
