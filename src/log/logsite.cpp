#include "src/log/logsite.h"

#include <stdarg.h>
#include <stdio.h>
#include <wchar.h>

#include <algorithm>
#include <exception>
#include <string_view>

#include "src/log/logger.h"

namespace ZorLog {

namespace {

struct SourcePrefix {
    char text[100];
};

SourcePrefix MakeSourcePrefix(const char* path, int line) {
    SourcePrefix prefix{};
    const size_t room = sizeof(prefix.text) - 1;
    const std::string_view whole(path);
    const size_t slash = whole.rfind('\\');
    const size_t dot = whole.rfind('.');
    if (slash != std::string_view::npos && dot != std::string_view::npos && dot >= slash + 2) {
        const int length = static_cast<int>(dot - slash - 1);
        _snprintf(prefix.text, room, "[%4d][%.*s] ", line, length, path + slash + 1);
    } else {
        _snprintf(prefix.text, room, "[%4d] ", line);
    }
    return prefix;
}

// The length of the message in characters; 0 when it has no text or cannot be formatted.
size_t MessageLength(const wchar_t* format, va_list arguments) {
    if (!format) {
        return 0;
    }
    va_list counted;
    va_copy(counted, arguments);
    const int length = _vscwprintf(format, counted);
    va_end(counted);
    return length > 0 ? static_cast<size_t>(length) : 0;
}

// One allocation, whatever the message. MinGW's vswprintf follows ISO C, where %s takes narrow
// text; the log's formats are written for Windows' rule, where it takes wide text, which msvcrt's
// functions have kept.
std::wstring ComposeLine(const char* path, int line, const wchar_t* format, va_list arguments) {
    constexpr std::wstring_view kLevel = L"[I]";
    constexpr std::wstring_view kNoMessage = L"(null)";
    const SourcePrefix source = MakeSourcePrefix(path, line);
    const std::string_view prefix(source.text);
    const size_t length = MessageLength(format, arguments);
    const size_t begin = kLevel.size() + prefix.size();
    std::wstring text(begin + (length > 0 ? length : kNoMessage.size()), L'\0');
    kLevel.copy(text.data(), kLevel.size());
    std::copy(prefix.begin(), prefix.end(), text.begin() + kLevel.size());
    if (length > 0) {
        _vsnwprintf(text.data() + begin, length, format, arguments);
    } else {
        kNoMessage.copy(text.data() + begin, kNoMessage.size());
    }
    return text;
}

}  // namespace

std::string FormatSourcePrefix(const char* path, int line) {
    return MakeSourcePrefix(path, line).text;
}

bool IsSiteEnabled() noexcept {
    Logger* logger = GetLogger();
    return logger && logger->IsEnabled(kLevelInformation);
}

void WriteSite(const char* path, int line, const wchar_t* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    try {
        const std::wstring text = ComposeLine(path, line, format, arguments);
        if (Logger* logger = GetLogger()) {
            logger->Write(text.c_str());
        }
    } catch (const std::exception&) {
        // A log site never fails its caller; the line is dropped.
    }
    va_end(arguments);
}

}  // namespace ZorLog
