/** The log file that several processes share. */
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace ZorLog {

/**
 * Stamps, queues and writes log lines. Processes that name the same path write through one named
 * mutex; the first of them starts the file afresh. Every line is 8-bit text of the ANSI code page,
 * ended by CR LF. Never reports errors to its caller; failures go to the debugger. A line for which
 * there is no memory is dropped.
 */
class LogAppender final {
  public:
    /**
     * Null texts count as empty. Deletes the file at `path` unless another process uses it. Throws
     * std::bad_alloc, before it does anything.
     */
    LogAppender(const wchar_t* path, const wchar_t* tag);
    /** Drops queued lines and closes the file. The mutex handle stays open. */
    ~LogAppender();
    LogAppender(const LogAppender&) = delete;
    LogAppender& operator=(const LogAppender&) = delete;

    /** Stamps `text` and queues it. */
    virtual void Append(const wchar_t* text) noexcept;

    /**
     * Append, then writes the queue. When another process holds the mutex the lines stay queued,
     * unless `force` is set: then it waits without limit. Answers the file's size in bytes as far
     * as this process knows it, negative when the file could not be opened.
     */
    virtual int Flush(const wchar_t* text, bool force) noexcept;

    /** Closes and deletes the file and drops the queue; the next flush starts a new file. */
    virtual void Reset() noexcept;

  private:
    bool TakeMutex(bool force) noexcept;
    void WritePending() noexcept;
    static int OpenLogFile(int& fd, const wchar_t* path) noexcept;

    HANDLE m_mutex = nullptr;
    int m_size = 0;
    bool m_needOpen = true;
    std::wstring m_path;
    std::wstring m_mutexName;
    std::wstring m_tag;
    int m_fd = -1;
    CRITICAL_SECTION m_queueLock;
    std::vector<std::string> m_pending;
};

}  // namespace ZorLog
