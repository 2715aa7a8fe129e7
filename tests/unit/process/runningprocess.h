/** A host object whose loop runs on a thread of its own. */
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "src/process/msgloopprocess.h"
#include "tests/unit/process/testevent.h"

/** What the host object logs when its work function has returned. */
inline constexpr char kWorkEndLine[] = "[msgloopprocess] WorkThreadFun process quit.";

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
    using Work = std::function<void(CTestedProcess&)>;

    /** `work` is the work function; by default it waits until the end is asked for. */
    explicit CRunningProcess(const std::wstring& commandLine, const Work& work = WaitForQuit);
    ~CRunningProcess();
    CRunningProcess(const CRunningProcess&) = delete;
    CRunningProcess& operator=(const CRunningProcess&) = delete;

    CTestedProcess* operator->() const { return m_process.get(); }

    /** The hidden window after its creation; null when it did not come in time. */
    HWND Window() const;

    /** Waits until Run has returned; false when it did not in time. */
    bool WaitForEnd() const { return m_ended.Wait(); }

    static void WaitForQuit(CTestedProcess& process) { process.WaitQuit(INFINITE); }

  private:
    std::shared_ptr<CTestedProcess> m_process = std::make_shared<CTestedProcess>();
    CTestEvent m_ended;
    std::thread m_thread;
};
