#include "monitor/outputs/rotation.h"

#include <windows.h>

#include "monitor/outputs/fileerror.h"

namespace zorvane {

std::wstring NumberedPath(const std::wstring& path, unsigned number) {
    const size_t slash = path.find_last_of(L"\\/:");
    const size_t name = slash == std::wstring::npos ? 0 : slash + 1;
    const size_t dot = path.rfind(L'.');
    // A dot at the name's begin starts no extension.
    const size_t end = dot == std::wstring::npos || dot <= name ? path.size() : dot;
    return path.substr(0, end) + L"." + std::to_wstring(number) + path.substr(end);
}

std::optional<CallError> Rotate(const std::wstring& path, unsigned keep) {
    for (unsigned number = keep; number > 0; --number) {
        const std::wstring from = number > 1 ? NumberedPath(path, number - 1) : path;
        const std::wstring to = NumberedPath(path, number);
        if (!MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) &&
            GetLastError() != ERROR_FILE_NOT_FOUND) {
            return LastFileError("MoveFileExW", from);
        }
    }
    return std::nullopt;
}

}  // namespace zorvane
