#include "src/log/logger.h"

#include <shlwapi.h>

#include <atomic>
#include <exception>
#include <new>

#include "src/log/appender.h"
#include "src/log/criticalsectionguard.h"
#include "src/log/locks.h"

namespace ZorLog {

namespace {

constexpr int kSizeLimit = 100 * 1024 * 1024;

std::atomic<Logger*> s_logger{nullptr};

// Null without memory.
std::unique_ptr<LogAppender> MakeAppender(const wchar_t* path, const wchar_t* tag) noexcept {
    try {
        return std::make_unique<LogAppender>(path, tag);
    } catch (const std::exception&) {
        return nullptr;
    }
}

bool HasMarkerFile(const wchar_t* path) noexcept {
    try {
        const std::wstring marker = std::wstring(path ? path : L"") + L".on";
        return PathFileExistsW(marker.c_str());
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

LoggerImpl::LoggerImpl() { InitializeCriticalSection(&m_lock); }

LoggerImpl::~LoggerImpl() {
    // The file is left to the end of the process, and so is its owner with the queued lines.
    static_cast<void>(m_appender.release());
    DeleteCriticalSection(&m_lock);
}

void LoggerImpl::Init(const wchar_t* path, const wchar_t* tag) noexcept {
    const CCriticalSectionGuard guard(m_lock);
    if (!m_appender) {
        m_appender = MakeAppender(path, tag);
    }
    m_threshold = kLevelInformation;
    if (HasMarkerFile(path)) {
        m_threshold = kLevelAll;
        m_locked = TRUE;
    }
    if (m_appender) {
        m_appender->Append(L"-------log start");
    }
}

void LoggerImpl::Reset() noexcept {
    const CCriticalSectionGuard guard(m_lock);
    if (m_appender) {
        m_appender->Reset();
    }
}

void LoggerImpl::Close() noexcept {
    if (!m_appender) {
        return;
    }
    m_appender->Flush(L"-------log end", true);
    m_appender.reset();
}

void LoggerImpl::SetLevel(int level) noexcept {
    const CCriticalSectionGuard guard(m_lock);
    if (m_locked) {
        return;
    }
    m_threshold = level;
    if (!m_appender) {
        return;
    }
    if (level == kLevelOff) {
        m_appender->Flush(L"-------log off", true);
        return;
    }
    m_appender->Flush(L"-------log lev change", false);
}

bool LoggerImpl::IsEnabled(int level) noexcept {
    const CCriticalSectionGuard guard(m_lock);
    return level >= m_threshold;
}

void LoggerImpl::Write(const wchar_t* text) noexcept {
    const CCriticalSectionGuard guard(m_lock);
    if (!m_appender) {
        return;
    }
    if (m_appender->Flush(text, false) > kSizeLimit) {
        m_appender->Flush(L"-------log full", true);
        m_threshold = kLevelOff;
    }
}

Logger* GetLogger() noexcept {
    if (Logger* logger = s_logger.load(std::memory_order_acquire)) {
        return logger;
    }
    _BaseModule::g_loggerLock.Lock();
    Logger* logger = s_logger.load(std::memory_order_relaxed);
    if (!logger) {
        logger = new (std::nothrow) LoggerImpl;
        s_logger.store(logger, std::memory_order_seq_cst);
    }
    _BaseModule::g_loggerLock.Unlock();
    return logger;
}

void InitLogger(const wchar_t* path, const wchar_t* tag) noexcept {
    if (Logger* logger = GetLogger()) {
        logger->Init(path, tag);
    }
}

void SetLogLevel(int level) noexcept {
    if (Logger* logger = GetLogger()) {
        logger->SetLevel(level);
    }
}

void ShutdownLogger() noexcept {
    if (!s_logger.load(std::memory_order_acquire)) {
        return;
    }
    _BaseModule::g_loggerLock.Lock();
    delete s_logger.exchange(nullptr);
    _BaseModule::g_loggerLock.Unlock();
}

}  // namespace ZorLog
