/** A host object whose loop runs on a thread of its own. */
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "process/msgloopprocess.h"
#include "testevent.h"

/** The host object, with its window visible to tests. */
class CTestedProcess : public CMsgLoopProcess {
  public:
    using CMsgLoopProcess::Window;

    BOOL ProcessWindowMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                              LRESULT& result) override;

    /** Set when the window's creation has been handled: work started, hello sent, timer set. */
    CTestEvent created;
    /** Set when the first WM_CLOSE has come, before it is handled. */
    CTestEvent closing;
};

/** Init and Run, as the export calls them, on a thread; the end asks it to quit and waits. */
class CRunningProcess {
  public:
    /** An empty work function stands for one that waits until the end is asked for. */
    explicit CRunningProcess(const std::wstring& commandLine, std::function<void()> work = {});
    ~CRunningProcess();
    CRunningProcess(const CRunningProcess&) = delete;
    CRunningProcess& operator=(const CRunningProcess&) = delete;

    CTestedProcess* operator->() const { return m_process.get(); }

    /** The hidden window after its creation; null when it did not come in time. */
    HWND Window() const;

    /** Waits until Run has returned; false when it did not in time. */
    bool WaitForEnd() const { return m_ended.Wait(); }

  private:
    std::shared_ptr<CTestedProcess> m_process = std::make_shared<CTestedProcess>();
    CTestEvent m_ended;
    std::thread m_thread;
};
