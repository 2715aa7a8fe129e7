/** A message window on a thread of its own. */
#pragma once

#include <windows.h>

#include <thread>

#include "base/messagewindow.h"

namespace zorvane {

/** Answers messages at any time, even while the thread that made it is busy. */
class CWindowThread {
  public:
    /** Makes the window; `handler` is called on its thread. */
    explicit CWindowThread(const CMessageWindow::Handler& handler,
                           WindowReach reach = WindowReach::kOwnMessages);
    ~CWindowThread() { Destroy(); }
    CWindowThread(const CWindowThread&) = delete;
    CWindowThread& operator=(const CWindowThread&) = delete;

    /** The window, also after Destroy; null when none could be made. */
    HWND Handle() const { return m_window; }

    /** Why no window could be made; empty when there is one. */
    const std::optional<CallError>& Error() const { return m_error; }

    /** Destroys the window and waits until it is gone. Not from the handler. */
    void Destroy();

  private:
    void Run(const CMessageWindow::Handler& handler, WindowReach reach, HANDLE ready);

    HWND m_window = nullptr;
    std::optional<CallError> m_error;
    std::thread m_thread;
};

}  // namespace zorvane
