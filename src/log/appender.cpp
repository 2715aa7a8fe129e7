#include "src/log/appender.h"

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/timeb.h>
#include <time.h>
#include <wchar.h>

#include <exception>
#include <initializer_list>

#include "src/log/criticalsectionguard.h"
#include "src/log/logfile.h"

namespace ZorLog {

namespace {

// The stamp, then `text`.
std::wstring Stamped(const std::wstring& tag, const wchar_t* text) {
    __timeb64 now{};
    _ftime64_s(&now);
    tm local{};
    _localtime64_s(&local, &now.time);
    wchar_t stamp[100] = {};
    _snwprintf(stamp, ARRAYSIZE(stamp) - 1, L"%02d-%02d %02d:%02d:%02d.%03d [%5d][%5d][%s]",
               local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
               int{now.millitm}, static_cast<int>(GetCurrentProcessId()),
               static_cast<int>(GetCurrentThreadId()), tag.c_str());
    const size_t stampLength = wcslen(stamp);
    const size_t textLength = wcslen(text);
    std::wstring line;
    line.reserve(stampLength + textLength);
    line.append(stamp, stampLength).append(text, textLength);
    return line;
}

// All programs that write the file use the ANSI code page. Two bytes a character are enough for the
// double-byte ones; where it is UTF-8, a line that needs more cannot be converted and stays empty.
// There is room for the line's end.
std::string ToAnsi(const std::wstring& text) {
    std::string bytes;
    bytes.reserve(text.size() * 2 + 2);
    bytes.resize(text.size() * 2);
    const int length =
        WideCharToMultiByte(CP_ACP, 0, text.c_str(), static_cast<int>(text.size()), bytes.data(),
                            static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<size_t>(length));
    return bytes;
}

// Says nothing when there is no memory for the text.
void TellDebugger(std::initializer_list<const wchar_t*> parts) noexcept {
    try {
        std::wstring message;
        for (const wchar_t* part : parts) {
            message += part;
        }
        OutputDebugStringW(message.c_str());
    } catch (const std::exception&) {
        return;
    }
}

// An error code in decimal; std::to_wstring would bring MinGW's own printf, 30 KB of it.
struct ErrorText {
    explicit ErrorText(DWORD error) { _ultow_s(error, digits, 10); }
    wchar_t digits[11] = {};
};

}  // namespace

LogAppender::LogAppender(const wchar_t* path, const wchar_t* tag)
    : m_path(path ? path : L""), m_mutexName(LogMutexName(m_path)), m_tag(tag ? tag : L"") {
    InitializeCriticalSection(&m_queueLock);
    DWORD createError = ERROR_SUCCESS;
    m_mutex = OpenMutexW(MUTEX_ALL_ACCESS, FALSE, m_mutexName.c_str());
    if (!m_mutex) {
        _wremove(m_path.c_str());
        m_mutex = CreateMutexW(nullptr, FALSE, m_mutexName.c_str());
        createError = GetLastError();
    }
    if (WaitForSingleObject(m_mutex, 0) != WAIT_OBJECT_0) {
        TellDebugger({L"Lock failed\n"});
    } else if (!m_mutex) {
        TellDebugger({L"CreateMutex failed with ", ErrorText(createError).digits, L"\n"});
    }
    // Unconditional: without ownership the call fails, and nothing depends on it.
    ReleaseMutex(m_mutex);
}

LogAppender::~LogAppender() {
    // The mutex stays open deliberately; see TakeMutex.
    m_pending.clear();
    DeleteCriticalSection(&m_queueLock);
    if (m_fd != -1) {
        _close(m_fd);
    }
}

void LogAppender::Append(const wchar_t* text) noexcept {
    try {
        std::string line = ToAnsi(Stamped(m_tag, text));
        line += "\r\n";
        const CCriticalSectionGuard guard(m_queueLock);
        m_pending.push_back(std::move(line));
    } catch (const std::exception&) {
        return;
    }
}

int LogAppender::Flush(const wchar_t* text, bool force) noexcept {
    Append(text);
    // Tried once: a file that cannot be opened is not tried again before Reset.
    if (m_needOpen) {
        m_size = OpenLogFile(m_fd, m_path.c_str());
        m_needOpen = false;
    }
    if (!TakeMutex(force)) {
        return m_size;
    }
    WritePending();
    ReleaseMutex(m_mutex);
    return m_size;
}

bool LogAppender::TakeMutex(bool force) noexcept {
    // The earlier handle is deliberately leaked, one each flush: a process that starts knows by the
    // mutex's existence that the file is in use, so it must not vanish before this process ends.
    m_mutex = OpenMutexW(MUTEX_ALL_ACCESS, FALSE, m_mutexName.c_str());
    if (!m_mutex) {
        return false;
    }
    const DWORD taken = WaitForSingleObject(m_mutex, 0);
    if (taken == WAIT_OBJECT_0 || taken == WAIT_ABANDONED) {
        return true;
    }
    if (force) {
        WaitForSingleObject(m_mutex, INFINITE);
        return true;
    }
    // Not owned, so this fails; harmless, and kept as it is.
    ReleaseMutex(m_mutex);
    return false;
}

void LogAppender::WritePending() noexcept {
    std::vector<std::string> lines;
    {
        const CCriticalSectionGuard guard(m_queueLock);
        lines.swap(m_pending);
    }
    for (const std::string& line : lines) {
        m_size += m_fd == -1 ? -1 : _write(m_fd, line.data(), static_cast<unsigned>(line.size()));
    }
}

void LogAppender::Reset() noexcept {
    if (!m_needOpen) {
        if (m_fd != -1) {
            _close(m_fd);
            m_fd = -1;
        }
        m_needOpen = true;
    }
    const CCriticalSectionGuard guard(m_queueLock);
    m_pending.clear();
    _wremove(m_path.c_str());
    Append(L"-------log reset");
}

int LogAppender::OpenLogFile(int& fd, const wchar_t* path) noexcept {
    const errno_t error = _wsopen_s(&fd, path, _O_WRONLY | _O_APPEND | _O_CREAT | _O_BINARY,
                                    _SH_DENYNO, _S_IREAD | _S_IWRITE);
    if (error != 0) {
        TellDebugger(
            {L"open ", path, L" error. [", ErrorText(static_cast<DWORD>(error)).digits, L"]\r\n"});
    }
    if (fd == -1) {
        return -1;
    }
    return _lseek(fd, 0, SEEK_END);
}

}  // namespace ZorLog
