#include "monitor/sources/startfacts.h"

#include <fmt/format.h>
#include <windows.h>

#include <algorithm>
#include <vector>

#include "base/modulepath.h"
#include "base/text.h"

namespace zorvane {
namespace {

std::string ComputerName() {
    std::wstring name(256, L'\0');
    auto length = static_cast<DWORD>(name.size());
    if (!GetComputerNameExW(ComputerNameDnsHostname, name.data(), &length)) {
        return "";
    }
    name.resize(length);
    return ToUtf8(name);
}

std::optional<std::string> FileVersion(const std::wstring& path) {
    const DWORD size = GetFileVersionInfoSizeW(path.c_str(), nullptr);
    std::vector<std::byte> block(size);
    void* value = nullptr;
    UINT length = 0;
    if (size == 0 || !GetFileVersionInfoW(path.c_str(), 0, size, block.data()) ||
        !VerQueryValueW(block.data(), L"\\", &value, &length) ||
        length < sizeof(VS_FIXEDFILEINFO)) {
        return std::nullopt;
    }
    const auto* info = static_cast<const VS_FIXEDFILEINFO*>(value);
    return fmt::format("{}.{}.{}", HIWORD(info->dwFileVersionMS), LOWORD(info->dwFileVersionMS),
                       HIWORD(info->dwFileVersionLS));
}

// The simulation has a host program of its own, and its libraries read the scenario from a
// variable.
bool IsSimulated(const WorkerCommand& worker) {
    const std::wstring host = worker.host.substr(worker.host.find_last_of(L"\\/") + 1);
    const auto names = [](const EnvironmentChange& change) {
        return _wcsicmp(change.name.c_str(), L"ZORVANE_SIM_SCENARIO") == 0;
    };
    return _wcsicmp(host.c_str(), L"zorvanesimhost.exe") == 0 ||
           std::any_of(worker.environment.begin(), worker.environment.end(), names) ||
           GetEnvironmentVariableW(L"ZORVANE_SIM_SCENARIO", nullptr, 0) > 0;
}

}  // namespace

StartEvent MakeStart(const WorkerCommand& worker) {
    // Characters of the name that a worker sends back.
    constexpr size_t kSentBack = kWireTextLength - 1;
    StartEvent start;
    start.toolVersion = ZORVANE_VERSION;
    start.libraryVersion = FileVersion(ExpectedLibrary(worker));
    start.simulated = IsSimulated(worker);
    start.host = ComputerName();
    start.entry = ToUtf8(worker.entry.substr(0, kSentBack));
    return start;
}

}  // namespace zorvane
