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

#include "src/log/criticalsectionguard.h"

namespace ZorLog {

namespace {

// The path without the characters that would make it a name in another namespace of objects.
std::wstring MutexName(std::wstring path) {
    std::erase(path, L':');
    std::erase(path, L'\\');
    return path;
}

std::wstring Stamp(const std::wstring& tag) {
    __timeb64 now{};
    _ftime64_s(&now);
    tm local{};
    _localtime64_s(&local, &now.time);
    wchar_t stamp[100] = {};
    _snwprintf(stamp, ARRAYSIZE(stamp) - 1, L"%02d-%02d %02d:%02d:%02d.%03d [%5d][%5d][%s]",
               local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
               int{now.millitm}, static_cast<int>(GetCurrentProcessId()),
               static_cast<int>(GetCurrentThreadId()), tag.c_str());
    return stamp;
}

std::string ToAnsi(const std::wstring& text) {
    std::string bytes(text.size() * 2, '\0');
    const int length =
        WideCharToMultiByte(CP_ACP, 0, text.c_str(), static_cast<int>(text.size()), bytes.data(),
                            static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<size_t>(length));
    return bytes;
}

// Tells the debugger; says nothing when there is no memory for the text.
void ReportOpenError(const wchar_t* path, errno_t error) noexcept {
    // std::to_wstring would bring MinGW's own printf, 30 KB of it.
    wchar_t number[12] = {};
    _snwprintf(number, ARRAYSIZE(number) - 1, L"%d", error);
    try {
        const std::wstring message =
            std::wstring(L"open ") + path + L" error. [" + number + L"]\r\n";
        OutputDebugStringW(message.c_str());
    } catch (const std::exception&) {
        return;
    }
}

}  // namespace

LogAppender::LogAppender(const wchar_t* path, const wchar_t* tag)
    : m_path(path ? path : L""), m_mutexName(MutexName(m_path)), m_tag(tag ? tag : L"") {
    InitializeCriticalSection(&m_queueLock);
    wchar_t debugMessage[64] = {};
    m_mutex = OpenMutexW(MUTEX_ALL_ACCESS, FALSE, m_mutexName.c_str());
    if (!m_mutex) {
        _wremove(m_path.c_str());
        m_mutex = CreateMutexW(nullptr, FALSE, m_mutexName.c_str());
        if (!m_mutex) {
            _snwprintf(debugMessage, ARRAYSIZE(debugMessage) - 1, L"CreateMutex failed with %u\n",
                       static_cast<unsigned>(GetLastError()));
        }
    }
    if (WaitForSingleObject(m_mutex, 0) != WAIT_OBJECT_0) {
        wcscpy_s(debugMessage, L"Lock failed\n");
    }
    if (debugMessage[0] != L'\0') {
        OutputDebugStringW(debugMessage);
    }
    ReleaseMutex(m_mutex);
}

LogAppender::~LogAppender() {
    m_pending.clear();
    DeleteCriticalSection(&m_queueLock);
    if (m_fd != -1) {
        _close(m_fd);
    }
}

void LogAppender::Append(const wchar_t* text) noexcept {
    try {
        std::string line = ToAnsi(Stamp(m_tag) + text);
        line += "\r\n";
        const CCriticalSectionGuard guard(m_queueLock);
        m_pending.push_back(std::move(line));
    } catch (const std::exception&) {
        return;
    }
}

int LogAppender::Flush(const wchar_t* text, bool force) noexcept {
    Append(text);
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
    // Earlier handles are left open until the process ends: that the mutex exists is how a process
    // that starts knows that the file is in use.
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
        ReportOpenError(path, error);
    }
    if (fd == -1) {
        return -1;
    }
    return _lseek(fd, 0, SEEK_END);
}

}  // namespace ZorLog
