/** A hidden window with its message loop. */
#pragma once

#include "src/process/thread.h"
#include "src/process/window.h"

/**
 * Owns one hidden, never-shown window and runs the message loop that serves it, on the thread that
 * calls RunLoop or on a thread of its own (Start). Handlers run on that thread; other threads of
 * this process post to the window and never send.
 */
class CMsgLoopThread : public CWindowBase, public CThread {
  public:
    CMsgLoopThread();

    BOOL ProcessWindowMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                              LRESULT& result) override;

    /** Handles WM_CLOSE: destroys the window, if it is there, and ends the loop. */
    virtual void OnClose();

    void ThreadMain() override;

    /**
     * Creates the window and takes its messages until WM_QUIT; returns at once when it cannot. An
     * exception of a handler closes the window and then leaves this function.
     */
    void RunLoop();

  private:
    BOOL m_handled = FALSE;
    // For a creator that runs the loop on a thread of its own and must know when the window exists.
    HANDLE m_windowCreated;
};
