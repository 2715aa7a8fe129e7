/** The one way in which every site logs. */
#pragma once

#include <string>

namespace ZorLog {

/**
 * "[%4d][%s] " with the line number and the base name of `path`, which is what stands between its
 * last "\" and its last "."; "[%4d] " when there is no such name. At most 99 characters.
 */
std::string FormatSourcePrefix(const char* path, int line);

/** True when the process-wide logger wants messages of log sites. */
bool IsSiteEnabled() noexcept;

/**
 * Composes one information-level line and hands it to the process-wide logger. The printf-style
 * `format` follows Windows' rules: %s takes wide text. Text from outside is an argument, never the
 * format. A message without text is written as "(null)". Throws nothing: a line for which there is
 * no memory is dropped.
 */
void WriteSite(const char* path, int line, const wchar_t* format, ...) noexcept;

}  // namespace ZorLog

/**
 * Logs one information-level message; its arguments are not evaluated when the log is silent.
 *
 * A file with log sites defines `constexpr char kLogSource[]`, a path of the form
 * "folder\\name.cpp". Readers of the log know the sources by name, so it stays what it is when code
 * moves, and does not depend on how a compiler records paths.
 */
#define LOG_INFO(...)                                             \
    do {                                                          \
        if (ZorLog::IsSiteEnabled()) {                            \
            ZorLog::WriteSite(kLogSource, __LINE__, __VA_ARGS__); \
        }                                                         \
    } while (false)
