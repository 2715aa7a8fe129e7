/** A log writer in another process. */
#pragma once

#include <windows.h>

#include <string>

#include "base/handle.h"

/**
 * A running logwriter program, which lies beside the test program. It has opened the log at `path`
 * when the constructor returns. Every wait is bounded and throws std::runtime_error when it runs
 * out.
 */
class CLogWriterProcess {
  public:
    explicit CLogWriterProcess(const std::wstring& path);
    /** Kills the process if it still runs. */
    ~CLogWriterProcess();
    CLogWriterProcess(const CLogWriterProcess&) = delete;
    CLogWriterProcess& operator=(const CLogWriterProcess&) = delete;

    /** Has one command done and waits until it is. */
    void Do(const std::string& command);
    /** The two halves of Do, for commands that run in several processes at once. */
    void Begin(const std::string& command);
    void Finish();

    /** Lets the process end by itself, its log unclosed. */
    void End();
    /** Ends it in the middle of what it does. */
    void Kill();

  private:
    void WaitForExit();

    zorvane::CUniqueHandle m_process;
    zorvane::CUniqueHandle m_input;
    zorvane::CUniqueHandle m_output;
};
