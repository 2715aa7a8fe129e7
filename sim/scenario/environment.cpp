#include "scenario/environment.h"

#include <windows.h>

#include <array>

namespace {

constexpr double kFileTimeTicksPerSecond = 1e7;

ULONGLONG Ticks(const FILETIME& time) {
    return (ULONGLONG{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

}  // namespace

std::wstring EnvironmentVariable(const wchar_t* name) {
    std::array<wchar_t, 32767> value{};
    const DWORD length = GetEnvironmentVariableW(name, value.data(), value.size());
    return std::wstring(value.data(), length < value.size() ? length : 0);
}

std::filesystem::path ModuleFolder() {
    HMODULE module = nullptr;
    GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const wchar_t*>(&Ticks), &module);
    std::array<wchar_t, 32767> path{};
    GetModuleFileNameW(module, path.data(), path.size());
    return std::filesystem::path(path.data()).parent_path();
}

double SecondsSinceProcessStart() {
    FILETIME created{};
    FILETIME exited{};
    FILETIME kernel{};
    FILETIME user{};
    FILETIME now{};
    GetProcessTimes(GetCurrentProcess(), &created, &exited, &kernel, &user);
    GetSystemTimePreciseAsFileTime(&now);
    // A clock that was set back must not give a negative time.
    const ULONGLONG elapsed = Ticks(now) > Ticks(created) ? Ticks(now) - Ticks(created) : 0;
    return static_cast<double>(elapsed) / kFileTimeTicksPerSecond;
}

void WriteErrorLine(const std::string& line) {
    const std::string bytes = line + "\r\n";
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()),
              &written, nullptr);
}
