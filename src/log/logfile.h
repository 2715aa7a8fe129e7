/** The names that belong to the log file. */
#pragma once

#include <string>

namespace ZorLog {

/** The file, from the folder of the library. Its folder is not created. */
inline constexpr wchar_t kLogFile[] = L"Log\\Qorvella_HardwareDll.log";

/**
 * The name of the mutex that guards the log file at `path`: Windows takes a backslash in an
 * object's name for the end of a namespace, so it cannot stay. All processes that write this file
 * must build the same name, whatever version of the utility they belong to.
 */
inline std::wstring LogMutexName(std::wstring path) {
    std::erase(path, L':');
    std::erase(path, L'\\');
    return path;
}

}  // namespace ZorLog
