/**
 * One worker and the stub window that it reports to, from start to end. All that a stub needs:
 *
 *   class CMyStub : public zorvane::IWorkerListener { ... };
 *   CMyStub stub;
 *   zorvane::CWorkerSession session(stub);
 *   zorvane::WorkerCommand command;
 *   command.host = path;
 *   if (auto error = session.Start(command)) ...
 *   // run the message loop; session.Stop() to end; OnExit comes last
 */
#pragma once

#include <windows.h>

#include <chrono>
#include <optional>
#include <string>

#include "base/callerror.h"
#include "base/messagewindow.h"
#include "client/commandline.h"
#include "client/decode.h"
#include "client/exitcode.h"
#include "client/stubwindow.h"
#include "client/workerprocess.h"

namespace zorvane {

/** Steps of ending a worker; each is taken when the one before has not helped. */
enum class StopStep {
    kNone,
    /** The stop message was sent, or will be as soon as the hello has told the worker's window. */
    kAsked,
    /**
     * The stub window was destroyed. The worker checks every five seconds that it exists. This
     * works for an elevated worker of a stub that is not elevated too, which Windows does not let
     * the stop message reach.
     */
    kWindowTaken,
    /** The process was ended by force. The AMD driver service may be left behind. */
    kForced,
};

/** How long a worker may take to end after each step before the next is taken. */
struct StopTimes {
    std::chrono::milliseconds afterAsking = std::chrono::seconds(5);
    /** Up to five seconds until the worker notices, and then the time that it takes to end. */
    std::chrono::milliseconds afterTakingWindow = std::chrono::seconds(10);
};

/** How a worker ended. */
struct WorkerExit {
    DWORD processId = 0;
    DWORD code = 0;
    ExitKind kind = ExitKind::kOrderly;
    /** Whether the worker's hello had come. */
    bool greeted = false;
    /** Whether Stop had been called. */
    bool asked = false;
    /** Ended by the session, by force. */
    bool forced = false;
    std::chrono::milliseconds lived{};
};

/** The end in words, fit to follow "the worker ": "ended in order (0)". */
std::string DescribeExit(const WorkerExit& exit);

/**
 * What a session tells. Every call comes from the session's message loop, none from inside a
 * handler of WM_COPYDATA: a listener may take its time. It must not throw, nor destroy the session.
 */
class IWorkerListener {
  public:
    virtual ~IWorkerListener() = default;

    /** The worker is up. Its window is its own, or gone already with a worker that ended at once.
     */
    virtual void OnHello(const Hello& hello) = 0;
    virtual void OnGpuStatic(const GpuStatic& fixed) = 0;
    virtual void OnGpuReading(const GpuReading& reading) = 0;
    virtual void OnCpuTemperature(const CpuTemperature& temperature) = 0;
    /**
     * The worker has reported a CPU temperature that is none: no number, or one that no CPU has.
     * OnPayloadError has said so. A value that is shown from before no longer holds.
     */
    virtual void OnCpuUnread() {}
    /**
     * Something arrived that was skipped, or is doubted (PayloadFault::kForeignSender), or held
     * numbers that cannot be, which the reading that follows lacks (PayloadFault::kImplausible).
     */
    virtual void OnPayloadError(const PayloadError& error) = 0;
    /** Stop took a step; `reason` says in words why it came to it. */
    virtual void OnStopStep(StopStep step, const std::string& reason) = 0;
    /** The worker has ended; everything that it sent has been told. May start the session again. */
    virtual void OnExit(const WorkerExit& exit) = 0;
};

/**
 * Made, used and destroyed on one thread, which runs a message loop. Destroyed with a worker
 * running it takes the stub window away and lets the worker go, which then ends in order within
 * some five seconds. One that hangs is ended by its host, but not before this process has gone: a
 * stub that lives on stops its worker and waits for OnExit.
 */
class CWorkerSession {
  public:
    /** `listener` outlives the session. */
    explicit CWorkerSession(IWorkerListener& listener, const StopTimes& times = {});

    CWorkerSession(const CWorkerSession&) = delete;
    CWorkerSession& operator=(const CWorkerSession&) = delete;

    /** Starts a worker; the session has none when this is called. The error if there is one. */
    [[nodiscard]] std::optional<CallError> Start(const WorkerCommand& command);

    /**
     * Asks the worker to end and returns; OnExit tells when it has. What does not help in time is
     * followed by the next StopStep. Called again it takes the next step at once. Without a worker
     * nothing happens.
     */
    void Stop();

    bool IsRunning() const { return m_process.Id() != 0; }

    /**
     * The library that the worker has loaded, as its process says: known with the hello, and kept
     * until the next Start. Empty when the process has no library of that name.
     */
    const std::wstring& LibraryPath() const { return m_libraryPath; }

    /** 0 when no worker runs. */
    DWORD WorkerId() const { return m_process.Id(); }

  private:
    std::optional<CallError> MakeControlWindow();
    std::optional<LRESULT> OnControlMessage(UINT message, WPARAM wParam);
    void OnArrival(const Payload& payload);
    void OnPayload(HWND sender, const Payload& payload);
    void OnHello(const Hello& hello);
    void OnCpuTemperature(const CpuTemperature& temperature);
    void ReportDoubt(const std::optional<PayloadError>& doubt);
    void OnProcessEnd();
    void Press(const std::string& reason);
    void SendStop();
    void EnterStep(StopStep step, std::chrono::milliseconds grace, const std::string& reason);
    bool IsForeign(HWND window) const;

    IWorkerListener& m_listener;
    const StopTimes m_times;
    /** Takes the timer and the notice of the process's end; outlives the stub window. */
    CMessageWindow m_control;
    CStubWindow m_stub;
    CWorkerProcess m_process;
    HWND m_workerWindow = nullptr;
    std::wstring m_libraryName;
    std::wstring m_libraryPath;
    StopStep m_step = StopStep::kNone;
    bool m_hasEnded = false;
    ULONGLONG m_startTick = 0;
};

}  // namespace zorvane
