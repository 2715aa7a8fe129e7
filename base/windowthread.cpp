#include "base/windowthread.h"

#include "base/handle.h"

namespace zorvane {

CWindowThread::CWindowThread(const CMessageWindow::Handler& handler, WindowReach reach) {
    const CUniqueHandle ready(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    m_thread =
        std::thread([this, handler, reach, event = ready.get()] { Run(handler, reach, event); });
    WaitForSingleObject(ready.get(), INFINITE);
}

void CWindowThread::Destroy() {
    if (!m_thread.joinable()) {
        return;
    }
    if (m_window) {
        PostMessageW(m_window, WM_CLOSE, 0, 0);
    }
    m_thread.join();
}

void CWindowThread::Run(const CMessageWindow::Handler& handler, WindowReach reach, HANDLE ready) {
    CMessageWindow window;
    m_error = window.Create(
        [&handler](UINT message, WPARAM wParam, LPARAM lParam) {
            if (message == WM_DESTROY) {
                PostQuitMessage(0);
            }
            return handler(message, wParam, lParam);
        },
        reach);
    m_window = window.Handle();
    SetEvent(ready);
    MSG message{};
    while (window.Handle() && GetMessageW(&message, nullptr, 0, 0) > 0) {
        DispatchMessageW(&message);
    }
}

}  // namespace zorvane
