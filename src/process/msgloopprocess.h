/** The host object: the worker's link to the stub window. */
#pragma once

#include <atomic>
#include <exception>
#include <functional>
#include <string>

#include "src/process/commandlineargs.h"
#include "src/process/iprocess.h"
#include "src/process/msgloopthread.h"

/**
 * Greets the stub window, runs the work function once on a thread of its own, carries the tasks'
 * data to the stub, looks every five seconds whether the stub is still there, and obeys its stop
 * message. Every way out is a WM_CLOSE posted to the hidden window. Init and Run are called on one
 * thread, the loop thread; what IProcess offers may be called from any.
 *
 * An exception, which means that memory ran out, leaves neither the window procedure nor the work
 * thread. It ends the loop in the usual order and is then thrown by Run.
 */
class CMsgLoopProcess : public IProcess, public CMsgLoopThread {
  public:
    /** How often the loop thread looks for the stub window. */
    static constexpr UINT_PTR kStubCheckTimerId = 9601;
    static constexpr UINT kStubCheckPeriodMs = 5000;

    CMsgLoopProcess();

    /**
     * Takes the stub window (--wnd, decimal), the entry name (--entry) and the work function. With
     * a null command line nothing is taken, and the work function stays the caller's.
     */
    void Init(const wchar_t* commandLine, std::function<void()>&& work);

    bool SendCopyData(const COPYDATASTRUCT* data) override;
    const wchar_t* GetEntry() override;
    void Run() override;
    BOOL Quit() override;
    bool WaitQuit(DWORD timeoutMs) override;
    void SendData(wchar_t* buffer, DWORD size) override;

    BOOL ProcessWindowMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                              LRESULT& result) override;
    void OnClose() override;

  private:
    LRESULT OnCreate();
    void OnTimer(UINT_PTR timerId);
    BOOL OnCopyData(const COPYDATASTRUCT* data);

    bool StartWorkThread();
    void SendHello();
    bool IsStubAlive() const;
    HANDLE TakeWorkThread();
    /** Asks the loop thread to close the window; answers PostMessageW's result. Any thread. */
    BOOL PostClose();
    void SetQuitEvent();
    void CloseQuitEvent();
    void KeepException();
    static unsigned __stdcall WorkThreadEntry(void* parameter);
    void WorkThreadFun() noexcept;

    BOOL m_handled = FALSE;
    std::function<void()> m_work;
    CommandLineArgs m_args;
    HWND m_stub = nullptr;
    std::wstring m_entry;
    HANDLE m_workThread = nullptr;
    std::atomic<DWORD> m_loopThread{0};
    // There is no timer for the check: whoever next finds the stub gone ends the worker.
    std::atomic<bool> m_isStubUnchecked{false};
    HANDLE m_quitEvent;
    // Asked for an end that the event could not tell of; found when a wait for the event is over.
    std::atomic<bool> m_quitEventFailed{false};
    // Guarded by m_workThreadLock.
    std::exception_ptr m_exception;
    // Whoever takes the work thread's handle out of its member under this lock closes it. The work
    // thread keeps the lock until it has logged and posted for the last time.
    SRWLOCK m_workThreadLock{};
    // Shared by whoever uses the quit event, so that it is not closed under a setter or a waiter.
    SRWLOCK m_quitEventLock{};
};
