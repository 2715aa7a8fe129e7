/** The process-wide logger. */
#pragma once

#include <windows.h>

#include <memory>
#include <string>

namespace ZorLog {

class LogAppender;

/** Everything is logged; only the marker file sets it. */
inline constexpr int kLevelAll = 0;
/** The default threshold, and the level of every log site. */
inline constexpr int kLevelInformation = 1;
/** No site logs. */
inline constexpr int kLevelOff = 3;

/**
 * What a logger can do. Any thread may call it; nothing is ever reported to the caller. Without
 * memory lines are dropped, or there is no log at all.
 */
class Logger {
  public:
    virtual ~Logger() = default;
    /** Opens the log at `path`; a file of that name followed by ".on" turns everything on for good.
     */
    virtual void Init(const wchar_t* path, const wchar_t* tag) noexcept = 0;
    /** Deletes the file and starts it afresh. */
    virtual void Reset() noexcept = 0;
    /** Writes the end marker and closes the file. */
    virtual void Close() noexcept = 0;
    /** Sets the threshold and writes a marker, also when the threshold stays the same. */
    virtual void SetLevel(int level) noexcept = 0;
    /** True when messages of `level` are wanted. */
    virtual bool IsEnabled(int level) noexcept = 0;
    /** Writes one composed message; past 100 MiB of file the threshold becomes kLevelOff. */
    virtual void Write(const wchar_t* text) noexcept = 0;
};

/** The one implementation. */
class LoggerImpl final : public Logger {
  public:
    LoggerImpl();
    /** Leaves the file as it is: no end marker, and queued lines are not written. */
    ~LoggerImpl() override;
    LoggerImpl(const LoggerImpl&) = delete;
    LoggerImpl& operator=(const LoggerImpl&) = delete;

    void Init(const wchar_t* path, const wchar_t* tag) noexcept override;
    void Reset() noexcept override;
    void Close() noexcept override;
    void SetLevel(int level) noexcept override;
    bool IsEnabled(int level) noexcept override;
    void Write(const wchar_t* text) noexcept override;

  private:
    CRITICAL_SECTION m_lock;
    int m_threshold = kLevelInformation;
    BOOL m_locked = FALSE;
    std::unique_ptr<LogAppender> m_appender;
    std::wstring m_text;
};

/** The process-wide logger, made at first use; null when there is no memory for it. */
Logger* GetLogger() noexcept;

/** Opens the process-wide log; see Logger::Init. */
void InitLogger(const wchar_t* path, const wchar_t* tag) noexcept;

/** Sets the process-wide threshold; see Logger::SetLevel. */
void SetLogLevel(int level) noexcept;

/** Deletes the process-wide logger. A log site that runs later writes nothing. */
void ShutdownLogger() noexcept;

}  // namespace ZorLog
