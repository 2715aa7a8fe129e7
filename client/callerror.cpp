#include "client/callerror.h"

#include <array>

#include "client/text.h"

namespace zorvane {
namespace {

std::string SystemText(DWORD code) {
    std::array<wchar_t, 512> buffer{};
    const DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    const DWORD length = FormatMessageW(flags, nullptr, code, 0, buffer.data(),
                                        static_cast<DWORD>(buffer.size()), nullptr);
    std::string text = ToUtf8({buffer.data(), length});
    // The system ends its texts with a full stop and a line end.
    text.erase(text.find_last_not_of(". \r\n") + 1);
    return text.empty() ? "unknown error" : text;
}

}  // namespace

CallError LastCallError(const char* call) {
    const DWORD code = GetLastError();
    return {call, code};
}

std::string Describe(const CallError& error) {
    return error.call + ": " + SystemText(error.code) + " (" + std::to_string(error.code) + ")";
}

}  // namespace zorvane
