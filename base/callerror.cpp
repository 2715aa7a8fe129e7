#include "base/callerror.h"

#include <array>

#include "base/text.h"

namespace zorvane {

CallError LastCallError(const char* call) {
    const DWORD code = GetLastError();
    return {call, code};
}

std::wstring DescribeCode(DWORD code) {
    std::array<wchar_t, 512> buffer{};
    // FORMAT_MESSAGE_MAX_WIDTH_MASK removes the line breaks that some of Windows' texts have.
    const DWORD flags =
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    const DWORD length = FormatMessageW(flags, nullptr, code, 0, buffer.data(),
                                        static_cast<DWORD>(buffer.size()), nullptr);
    std::wstring text(buffer.data(), length);
    text.erase(text.find_last_not_of(L". \r\n") + 1);
    return (text.empty() ? L"unknown error" : text) + L" (" + std::to_wstring(code) + L")";
}

std::string Describe(const CallError& error) {
    return error.call + ": " + ToUtf8(DescribeCode(error.code));
}

}  // namespace zorvane
