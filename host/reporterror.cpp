#include "host/reporterror.h"

#include <array>

namespace {

// The file name of this executable without its ".exe": more than one host reports through this.
std::wstring ProgramName() {
    std::array<wchar_t, 32768> path{};
    GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    const std::wstring name = path.data();
    const size_t begin = name.find_last_of(L'\\') + 1;
    return name.substr(begin, name.rfind(L'.') - begin);
}

}  // namespace

std::wstring DescribeError(DWORD code) {
    wchar_t text[512] = {};
    DWORD length = FormatMessageW(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
        nullptr, code, 0, text, ARRAYSIZE(text), nullptr);
    while (length > 0 && (text[length - 1] == L' ' || text[length - 1] == L'.')) {
        --length;
    }
    return std::wstring(text, length) + (length > 0 ? L" (" : L"(") + std::to_wstring(code) + L")";
}

void ReportError(const std::wstring& message) {
    const std::wstring line = ProgramName() + L": " + message + L"\r\n";
    const HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    DWORD written = 0;
    if (GetConsoleMode(error, &mode)) {
        WriteConsoleW(error, line.c_str(), static_cast<DWORD>(line.size()), &written, nullptr);
        return;
    }
    const int length = static_cast<int>(line.size());
    std::string bytes(line.size() * 3, '\0');
    bytes.resize(
        static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, line.c_str(), length, bytes.data(),
                                                static_cast<int>(bytes.size()), nullptr, nullptr)));
    WriteFile(error, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}
