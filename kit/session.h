/** A session of the C interface: a worker on a thread of its own. */
#pragma once

#include <windows.h>

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

#include "base/callerror.h"
#include "base/handle.h"
#include "kit/eventqueue.h"
#include "kit/options.h"
#include "monitor/workerlog/explainedworker.h"

namespace zorvane {

/**
 * Any thread. Nothing but Close waits for the session's thread, so that no two threads can wait for
 * each other. The thread holds the object and the module that contains this code.
 */
class CClientSession : public std::enable_shared_from_this<CClientSession> {
  public:
    using Command = void (CExplainedWorker::*)();

    explicit CClientSession(ClientOptions options);

    CClientSession(const CClientSession&) = delete;
    CClientSession& operator=(const CClientSession&) = delete;

    /** Starts the thread; once. Returns the error if it fails. */
    [[nodiscard]] std::optional<CallError> Open();

    /** False when the session runs already. */
    bool Start();

    /** Has the thread call this of its worker. */
    void Post(Command command);

    ZorvaneResult NextEvent(ZorvaneEvent& event, DWORD timeoutMs);

    /** Lets go of the worker and ends the thread; waits for that, except on the thread itself. */
    void Close();

  private:
    static DWORD WINAPI ThreadMain(void* session) noexcept;

    void Run();
    void RunCommands(CExplainedWorker& worker);
    void WaitFor(const CExplainedWorker& worker);
    void OnEvent(SessionEvent&& event);

    const ClientOptions m_options;
    CEventQueue m_queue;
    CUniqueHandle m_wake;
    CUniqueHandle m_thread;
    DWORD m_threadId = 0;
    std::atomic<bool> m_isClosing{false};
    /** Whether the session is between a start and its last event. */
    std::atomic<bool> m_isActive{false};
    SRWLOCK m_lock{};
    std::vector<Command> m_commands;
    /** On the session's thread only. */
    DWORD m_workerId = 0;
};

}  // namespace zorvane
