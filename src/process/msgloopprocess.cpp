#include "src/process/msgloopprocess.h"

#include <process.h>

#include <algorithm>
#include <utility>

#include "src/log/logsite.h"
#include "src/process/srwlockguard.h"
#include "zorvane/wire.h"

namespace {

constexpr char kLogSource[] = "process\\msgloopprocess.cpp";

constexpr UINT kSendTimeoutMs = 1000;

// At most 31 characters and a NUL; what stands behind the NUL is left as it is.
void CopyEntry(const std::wstring& entry, wchar_t* field) {
    const size_t length = std::min<size_t>(entry.size(), kWireTextLength - 1);
    std::copy_n(entry.begin(), length, field);
    field[length] = L'\0';
}

void AwaitAndClose(HANDLE thread) {
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
}

}  // namespace

CMsgLoopProcess::CMsgLoopProcess() : m_quitEvent(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

void CMsgLoopProcess::Init(const wchar_t* commandLine, std::function<void()>&& work) {
    if (!commandLine) {
        return;
    }
    LOG_INFO(L"cmd:%s", commandLine);
    m_args.SetCommandLine(commandLine);
    m_args.Parse();
    std::wstring stub;
    m_args.GetValue(L"--wnd", stub);
    m_args.GetValue(L"--entry", m_entry);
    // Window handles have 32 significant bits and are sign-extended.
    m_stub = reinterpret_cast<HWND>(INT_PTR{_wtoi(stub.c_str())});
    m_work = std::move(work);
}

bool CMsgLoopProcess::SendCopyData(const COPYDATASTRUCT* data) {
    if (!IsStubAlive()) {
        LOG_INFO(L"Send msg to stub wnd failed, msg=%d", static_cast<int>(data->dwData));
        if (m_isStubUnchecked) {
            Quit();
        }
        return false;
    }
    // A send that fails or times out is deliberately not logged; only a missing stub is.
    return SendMessageTimeoutW(m_stub, WM_COPYDATA, reinterpret_cast<WPARAM>(Window()),
                               reinterpret_cast<LPARAM>(data), SMTO_BLOCK, kSendTimeoutMs,
                               nullptr) > 0;
}

const wchar_t* CMsgLoopProcess::GetEntry() { return m_entry.c_str(); }

void CMsgLoopProcess::Run() {
    m_loopThread = GetCurrentThreadId();
    try {
        RunLoop();
    } catch (...) {
        KeepException();
    }
    // A loop that was ended past OnClose has left the work thread running.
    if (const HANDLE workThread = TakeWorkThread()) {
        SetQuitEvent();
        AwaitAndClose(workThread);
    }
    if (m_exception) {
        std::rethrow_exception(std::exchange(m_exception, nullptr));
    }
}

BOOL CMsgLoopProcess::Quit() {
    SetQuitEvent();
    return PostClose();
}

bool CMsgLoopProcess::WaitQuit(DWORD timeoutMs) {
    const CSrwLockSharedGuard inUse(m_quitEventLock);
    return m_quitEvent &&
           (WaitForSingleObject(m_quitEvent, timeoutMs) == WAIT_OBJECT_0 || m_quitEventFailed);
}

void CMsgLoopProcess::SendData(wchar_t* buffer, DWORD size) {
    if (!buffer || size == 0) {
        return;
    }
    CopyEntry(m_entry, buffer);
    const COPYDATASTRUCT data{kCopyDataTaskData, size, buffer};
    SendCopyData(&data);
}

BOOL CMsgLoopProcess::ProcessWindowMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                                           LRESULT& result) {
    if (CMsgLoopThread::ProcessWindowMessage(window, message, wParam, lParam, result)) {
        return TRUE;
    }
    const CHandledScope scope(m_handled);
    switch (message) {
        case WM_CREATE:
            result = OnCreate();
            break;
        case WM_TIMER:
            OnTimer(wParam);
            result = 0;
            break;
        case WM_COPYDATA:
            result = OnCopyData(reinterpret_cast<const COPYDATASTRUCT*>(lParam));
            break;
        default:
            m_handled = FALSE;
            break;
    }
    return m_handled;
}

LRESULT CMsgLoopProcess::OnCreate() {
    if (!StartWorkThread()) {
        PostClose();
        LOG_INFO(L"OnCreate failed, process quit.");
        return 0;
    }
    SendHello();
    // The period starts now, even if the timer should be there already.
    KillTimer(Window(), kStubCheckTimerId);
    m_isStubUnchecked = !SetTimer(Window(), kStubCheckTimerId, kStubCheckPeriodMs, nullptr);
    return 0;
}

bool CMsgLoopProcess::StartWorkThread() {
    // Without the event nothing could ever stop the work, and it would not pause between cycles.
    if (!m_quitEvent) {
        return false;
    }
    // Held until the handle is stored: a work function that returns at once closes this very
    // handle.
    const CSrwLockGuard starting(m_workThreadLock);
    m_workThread =
        reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, WorkThreadEntry, this, 0, nullptr));
    return m_workThread != nullptr;
}

void CMsgLoopProcess::SendHello() {
    HelloPayload hello{};
    CopyEntry(m_entry, hello.entry);
    hello.hostWnd = reinterpret_cast<uintptr_t>(Window());
    const COPYDATASTRUCT data{kCopyDataHello, sizeof(hello), &hello};
    SendCopyData(&data);
}

bool CMsgLoopProcess::IsStubAlive() const { return m_stub && IsWindow(m_stub); }

void CMsgLoopProcess::OnTimer(UINT_PTR timerId) {
    if (timerId != kStubCheckTimerId || IsStubAlive()) {
        return;
    }
    KillTimer(Window(), kStubCheckTimerId);
    PostClose();
    LOG_INFO(L"Stub do NOT exists, process quit.");
}

BOOL CMsgLoopProcess::OnCopyData(const COPYDATASTRUCT* data) {
    if (data && data->dwData == kCopyDataStop) {
        LOG_INFO(L"OnCopyData StopLoop");
        Quit();
    }
    return TRUE;
}

void CMsgLoopProcess::OnClose() {
    LOG_INFO(L"CMsgLoopProcess OnClose.");
    // Taken first: once the event has woken it, the work thread closes the handle itself, and
    // there would be nothing left to wait on.
    const HANDLE workThread = TakeWorkThread();
    SetQuitEvent();
    if (workThread) {
        AwaitAndClose(workThread);
    }
    CloseQuitEvent();
    CMsgLoopThread::OnClose();
}

BOOL CMsgLoopProcess::PostClose() {
    const BOOL posted = PostMessageW(Window(), WM_CLOSE, 0, 0);
    // The queue is full, and nobody would ask again. WM_QUIT is a mark of the thread, and a sent
    // message has no queue; Run awaits the work thread in either case.
    if (!posted && GetCurrentThreadId() == m_loopThread) {
        PostQuitMessage(0);
    } else if (!posted) {
        SendNotifyMessageW(Window(), WM_CLOSE, 0, 0);
    }
    return posted;
}

void CMsgLoopProcess::SetQuitEvent() {
    const CSrwLockSharedGuard inUse(m_quitEventLock);
    if (m_quitEvent && !SetEvent(m_quitEvent)) {
        m_quitEventFailed = true;
    }
}

HANDLE CMsgLoopProcess::TakeWorkThread() {
    const CSrwLockGuard taking(m_workThreadLock);
    return std::exchange(m_workThread, nullptr);
}

void CMsgLoopProcess::CloseQuitEvent() {
    // Waiters hold the lock, but not for long: the event has just been set.
    const CSrwLockGuard closing(m_quitEventLock);
    CloseHandle(m_quitEvent);
    m_quitEvent = nullptr;
}

void CMsgLoopProcess::KeepException() {
    const CSrwLockGuard keeping(m_workThreadLock);
    if (!m_exception) {
        m_exception = std::current_exception();
    }
}

unsigned __stdcall CMsgLoopProcess::WorkThreadEntry(void* parameter) {
    if (parameter) {
        static_cast<CMsgLoopProcess*>(parameter)->WorkThreadFun();
    }
    return 0;
}

void CMsgLoopProcess::WorkThreadFun() noexcept {
    try {
        if (m_work) {
            m_work();
        }
    } catch (...) {
        KeepException();
    }
    const CSrwLockGuard ending(m_workThreadLock);
    if (const HANDLE ownHandle = std::exchange(m_workThread, nullptr)) {
        CloseHandle(ownHandle);
    }
    LOG_INFO(L"WorkThreadFun process quit.");
    PostClose();
}
