#include "src/log/logsite.h"

#include <stdarg.h>
#include <stdio.h>
#include <wchar.h>

#include <exception>
#include <string_view>

#include "src/log/logger.h"

namespace ZorLog {

namespace {

// MinGW's vswprintf reads %s as narrow text; Windows' own functions take it as wide, as meant here.
std::wstring FormatMessageText(const wchar_t* format, va_list arguments) {
    if (!format) {
        return {};
    }
    va_list counted;
    va_copy(counted, arguments);
    const int length = _vscwprintf(format, counted);
    va_end(counted);
    if (length <= 0) {
        return {};
    }
    std::wstring text(static_cast<size_t>(length), L'\0');
    _vsnwprintf(text.data(), text.size(), format, arguments);
    return text;
}

std::wstring ComposeLine(const char* path, int line, const wchar_t* format, va_list arguments) {
    const std::wstring message = FormatMessageText(format, arguments);
    const std::string prefix = FormatSourcePrefix(path, line);
    std::wstring text = L"[I]";
    text.append(prefix.begin(), prefix.end());
    text.append(message.empty() ? L"(null)" : message);
    return text;
}

}  // namespace

std::string FormatSourcePrefix(const char* path, int line) {
    char prefix[100] = {};
    const std::string_view whole(path);
    const size_t slash = whole.rfind('\\');
    const size_t dot = whole.rfind('.');
    if (slash != std::string_view::npos && dot != std::string_view::npos && dot >= slash + 2) {
        const std::string name(whole.substr(slash + 1, dot - slash - 1));
        _snprintf(prefix, sizeof(prefix) - 1, "[%4d][%s] ", line, name.c_str());
    } else {
        _snprintf(prefix, sizeof(prefix) - 1, "[%4d] ", line);
    }
    return prefix;
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
