#include "sim/scenario/widetext.h"

#include <windows.h>

std::wstring ToWide(std::string_view text) {
    const int length = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');
    wide.resize(static_cast<size_t>(
        MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), length)));
    return wide;
}

std::string ToUtf8(std::wstring_view text) {
    const int length = static_cast<int>(text.size());
    std::string bytes(text.size() * 3, '\0');
    bytes.resize(
        static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(),
                                                static_cast<int>(bytes.size()), nullptr, nullptr)));
    return bytes;
}
