#include "monitor/sources/startfacts.h"

#include <windows.h>

#include <algorithm>

#include "base/fileversion.h"
#include "base/text.h"

namespace zorvane {
namespace {

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

std::string ComputerName() {
    std::wstring name(256, L'\0');
    auto length = static_cast<DWORD>(name.size());
    if (!GetComputerNameExW(ComputerNameDnsHostname, name.data(), &length)) {
        return "";
    }
    name.resize(length);
    return ToUtf8(name);
}

StartEvent MakeStart(const WorkerCommand& worker) {
    // Characters of the name that a worker sends back.
    constexpr size_t kSentBack = kWireTextLength - 1;
    StartEvent start;
    start.toolVersion = ZORVANE_VERSION;
    if (const auto version = ReadFileVersion(ExpectedLibrary(worker))) {
        start.libraryVersion = version->number;
    }
    start.simulated = IsSimulated(worker);
    start.host = ComputerName();
    start.entry = ToUtf8(worker.entry.substr(0, kSentBack));
    return start;
}

}  // namespace zorvane
