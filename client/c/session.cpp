#include "client/c/session.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/modulepath.h"
#include "client/c/fillevent.h"
#include "src/process/srwlockguard.h"

namespace zorvane {
namespace {

// A second reference to the module that contains this code, so that it outlives the thread.
HMODULE HoldThisModule() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<const wchar_t*>(&HoldThisModule), &module);
    return module;
}

}  // namespace

CClientSession::CClientSession(ClientOptions options)
    : m_options(std::move(options)), m_queue(m_options.queueLength) {}

std::optional<CallError> CClientSession::Open() {
    m_wake.reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    if (!m_wake) {
        return LastCallError("CreateEventW");
    }
    const HMODULE module = HoldThisModule();
    if (!module) {
        return LastCallError("GetModuleHandleExW");
    }
    auto self = std::make_unique<std::shared_ptr<CClientSession>>(shared_from_this());
    // Suspended: the thread's own id must be known before its first callback.
    m_thread.reset(
        CreateThread(nullptr, 0, &ThreadMain, self.get(), CREATE_SUSPENDED, &m_threadId));
    if (!m_thread) {
        const CallError error = LastCallError("CreateThread");
        FreeLibrary(module);
        return error;
    }
    static_cast<void>(self.release());
    ResumeThread(m_thread.get());
    return std::nullopt;
}

DWORD WINAPI CClientSession::ThreadMain(void* session) noexcept {
    {
        const std::unique_ptr<std::shared_ptr<CClientSession>> self(
            static_cast<std::shared_ptr<CClientSession>*>(session));
        (*self)->Run();
    }
    FreeLibraryAndExitThread(ThisModule(), 0);
}

void CClientSession::Run() {
    CWorkerKeeper keeper(m_options.keeper,
                         [this](SessionEvent&& event) { OnEvent(std::move(event)); });
    while (!m_isClosing) {
        RunCommands(keeper);
        keeper.OnTime(ReadMoment());
        WaitFor(keeper);
        MSG message;
        while (!m_isClosing && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            DispatchMessageW(&message);
        }
    }
}

void CClientSession::RunCommands(CWorkerKeeper& keeper) {
    std::vector<Command> commands;
    {
        const CSrwLockGuard guard(m_lock);
        commands.swap(m_commands);
    }
    for (const Command command : commands) {
        (keeper.*command)();
    }
}

void CClientSession::WaitFor(const CWorkerKeeper& keeper) {
    DWORD pause = INFINITE;
    if (const auto due = keeper.DueTick()) {
        const auto left = std::max(*due - ReadMoment().tick, std::chrono::milliseconds(0));
        pause = static_cast<DWORD>(left.count());
    }
    const HANDLE wake = m_wake.get();
    MsgWaitForMultipleObjectsEx(1, &wake, pause, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
}

bool CClientSession::Start() {
    if (m_isActive.exchange(true)) {
        return false;
    }
    Post(&CWorkerKeeper::Start);
    return true;
}

void CClientSession::Post(Command command) {
    {
        const CSrwLockGuard guard(m_lock);
        m_commands.push_back(command);
    }
    SetEvent(m_wake.get());
}

void CClientSession::OnEvent(SessionEvent&& event) {
    if (const auto* start = std::get_if<WorkerStartEvent>(&event.body)) {
        m_workerId = start->workerId;
    }
    if (std::holds_alternative<ExitEvent>(event.body)) {
        m_workerId = 0;
    }
    // Before anybody hears of the end, who may start it again at once.
    if (std::holds_alternative<EndEvent>(event.body)) {
        m_isActive = false;
    }
    if (m_isClosing) {
        return;
    }
    QueuedEvent queued{std::move(event), m_workerId};
    if (!m_options.callback) {
        m_queue.Push(std::move(queued));
        return;
    }
    const ZorvaneEvent told = ToCEvent(queued, 0);
    m_options.callback(m_options.context, &told);
}

ZorvaneResult CClientSession::NextEvent(ZorvaneEvent& event, DWORD timeoutMs) {
    if (m_options.callback) {
        return kZorvaneHasCallback;
    }
    const auto next = m_queue.Pop(timeoutMs);
    if (!next) {
        return m_queue.IsClosed() ? kZorvaneNoSession : kZorvaneTimeout;
    }
    const uint32_t size = event.size;
    event = ToCEvent(*next, m_queue.Dropped());
    event.size = size;
    return kZorvaneOk;
}

void CClientSession::Close() {
    m_isClosing = true;
    m_queue.Close();
    SetEvent(m_wake.get());
    if (GetCurrentThreadId() != m_threadId) {
        WaitForSingleObject(m_thread.get(), INFINITE);
    }
}

}  // namespace zorvane
