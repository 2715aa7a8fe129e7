#include "src/process/msgloopthread.h"

#include "src/log/logsite.h"
#include "src/process/messageloop.h"

namespace {

constexpr char kLogSource[] = "process\\msgloopthread.cpp";

CWindowClass s_windowClass;

}  // namespace

CMsgLoopThread::CMsgLoopThread() : m_windowCreated(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

BOOL CMsgLoopThread::ProcessWindowMessage(HWND, UINT message, WPARAM, LPARAM, LRESULT& result) {
    const CHandledScope scope(m_handled);
    switch (message) {
        case WM_CLOSE:
            OnClose();
            result = 0;
            break;
        case WM_CREATE:
            SetEvent(m_windowCreated);
            m_handled = FALSE;
            break;
        default:
            m_handled = FALSE;
            break;
    }
    return m_handled;
}

void CMsgLoopThread::OnClose() {
    if (IsWindow(Window())) {
        Destroy();
        PostQuitMessage(0);
    }
    LOG_INFO(L"CMsgLoopThread quit msg loop.");
}

void CMsgLoopThread::ThreadMain() { RunLoop(); }

void CMsgLoopThread::RunLoop() {
    const ATOM windowClass = s_windowClass.Register();
    if (!windowClass || !CreateHidden(windowClass)) {
        LOG_INFO(L"Create MsgLoopWnd failed.");
        RethrowException();
        return;
    }
    RunMessageLoop();
    RethrowException();
}
