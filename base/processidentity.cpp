#include "base/processidentity.h"

#include <limits>

namespace zorvane {
namespace {

std::optional<uint64_t> CreationTime(HANDLE process) {
    FILETIME created{};
    FILETIME unused{};
    if (!GetProcessTimes(process, &created, &unused, &unused, &unused)) {
        return std::nullopt;
    }
    return uint64_t{created.dwHighDateTime} << 32 | created.dwLowDateTime;
}

// Digits only: no sign, no white space.
std::optional<uint64_t> ParseNumber(std::wstring_view digits, uint64_t largest) {
    if (digits.empty()) {
        return std::nullopt;
    }
    uint64_t number = 0;
    for (const wchar_t c : digits) {
        if (c < L'0' || c > L'9') {
            return std::nullopt;
        }
        const auto digit = static_cast<uint64_t>(c - L'0');
        if (number > (largest - digit) / 10) {
            return std::nullopt;
        }
        number = number * 10 + digit;
    }
    return number;
}

}  // namespace

ProcessIdentity IdentityOf(HANDLE process) {
    return {GetProcessId(process), CreationTime(process).value_or(0)};
}

ProcessIdentity OwnIdentity() { return IdentityOf(GetCurrentProcess()); }

std::wstring IdentityText(const ProcessIdentity& identity) {
    return std::to_wstring(identity.id) + L":" + std::to_wstring(identity.creationTime);
}

std::optional<ProcessIdentity> ParseIdentity(std::wstring_view text) {
    const size_t colon = text.find(L':');
    if (colon == std::wstring_view::npos) {
        return std::nullopt;
    }
    const auto id = ParseNumber(text.substr(0, colon), std::numeric_limits<DWORD>::max());
    const auto time = ParseNumber(text.substr(colon + 1), std::numeric_limits<uint64_t>::max());
    if (!id || !time) {
        return std::nullopt;
    }
    return ProcessIdentity{static_cast<DWORD>(*id), *time};
}

FoundProcess FindProcess(const ProcessIdentity& identity) {
    FoundProcess found;
    found.handle.reset(
        OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, identity.id));
    if (!found.handle) {
        // What Windows returns for an id that no process has.
        if (GetLastError() != ERROR_INVALID_PARAMETER) {
            found.error = LastCallError("OpenProcess");
        }
        return found;
    }
    const std::optional<uint64_t> created = CreationTime(found.handle.get());
    if (!created) {
        found.error = LastCallError("GetProcessTimes");
    }
    if (created != identity.creationTime) {
        found.handle.reset();
    }
    return found;
}

}  // namespace zorvane
