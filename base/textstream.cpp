#include "base/textstream.h"

#include <string>

#include "base/text.h"

namespace zorvane {
namespace {

std::optional<CallError> WriteConsoleText(HANDLE handle, std::string_view text) {
    const std::wstring wide = ToWide(text);
    DWORD written = 0;
    if (WriteConsoleW(handle, wide.data(), static_cast<DWORD>(wide.size()), &written, nullptr)) {
        return std::nullopt;
    }
    return LastCallError("WriteConsoleW");
}

std::optional<CallError> WriteBytes(HANDLE handle, std::string_view text) {
    while (!text.empty()) {
        DWORD written = 0;
        if (!WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr)) {
            return LastCallError("WriteFile");
        }
        text.remove_prefix(written);
    }
    return std::nullopt;
}

}  // namespace

bool IsConsole(HANDLE handle) {
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != 0;
}

std::optional<CallError> WriteText(HANDLE handle, std::string_view text) {
    return IsConsole(handle) ? WriteConsoleText(handle, text) : WriteBytes(handle, text);
}

}  // namespace zorvane
