#include "tests/unit/process/runningprocess.h"

#include <cstdio>
#include <cstdlib>

BOOL CTestedProcess::ProcessWindowMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                                          LRESULT& result) {
    if (message == WM_CLOSE) {
        closing.Set();
    }
    const BOOL handled =
        CMsgLoopProcess::ProcessWindowMessage(window, message, wParam, lParam, result);
    if (message == WM_CREATE) {
        created.Set();
    }
    return handled;
}

CRunningProcess::CRunningProcess(const std::wstring& commandLine, const Work& work)
    : m_thread([this, commandLine, work] {
          m_process->Init(commandLine.c_str(), [this, work] { work(*m_process); });
          m_process->Run();
          m_ended.Set();
      }) {}

CRunningProcess::~CRunningProcess() {
    if (!m_ended.IsSet() && m_process->created.Wait()) {
        m_process->Quit();
    }
    if (!m_ended.Wait()) {
        std::fputs("the message loop of a test does not end\n", stderr);
        std::abort();
    }
    m_thread.join();
}

HWND CRunningProcess::Window() const {
    return m_process->created.Wait() ? m_process->Window() : nullptr;
}
