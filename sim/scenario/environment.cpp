#include "sim/scenario/environment.h"

#include <windows.h>

#include <array>

namespace {

constexpr double kFileTimeTicksPerSecond = 1e7;

ULONGLONG Ticks(const FILETIME& time) {
    return (ULONGLONG{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

ULONGLONG ProcessCreationTicks() {
    FILETIME created{};
    FILETIME exited{};
    FILETIME kernel{};
    FILETIME user{};
    GetProcessTimes(GetCurrentProcess(), &created, &exited, &kernel, &user);
    return Ticks(created);
}

}  // namespace

std::wstring EnvironmentVariable(const wchar_t* name) {
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    const DWORD length =
        GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size()));
    // Longer now than it was just then: set on another thread.
    value.resize(length < value.size() ? length : 0);
    return value;
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
    static const ULONGLONG s_created = ProcessCreationTicks();
    FILETIME now{};
    GetSystemTimePreciseAsFileTime(&now);
    // A clock that was set back must not give a negative time.
    const ULONGLONG elapsed = Ticks(now) > s_created ? Ticks(now) - s_created : 0;
    return static_cast<double>(elapsed) / kFileTimeTicksPerSecond;
}

void WriteErrorLine(const std::string& line) {
    const std::string bytes = line + "\r\n";
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()),
              &written, nullptr);
}
