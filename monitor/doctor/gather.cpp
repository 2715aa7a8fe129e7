#include "monitor/doctor/gather.h"

#include <windows.h>

#include <algorithm>

#include "base/modulepath.h"
#include "base/text.h"
#include "monitor/sources/startfacts.h"

namespace zorvane {
namespace {

constexpr std::chrono::milliseconds kVbsLimit(2000);

std::string UserName() {
    constexpr DWORD kLongest = 257;
    std::wstring name(kLongest, L'\0');
    DWORD length = kLongest;
    if (!GetUserNameW(name.data(), &length)) {
        return {};
    }
    // The NUL is counted.
    name.resize(length - 1);
    return ToUtf8(name);
}

}  // namespace

DoctorTarget MakeDoctorTarget(const std::wstring& host, const std::wstring& library) {
    const std::wstring fullHost = FullPath(host);
    return {fullHost, library.empty() ? FolderOf(fullHost) + L"Zorvane.dll" : FullPath(library)};
}

MachineFacts GatherFacts(const DoctorTarget& target) {
    // Windows Management Instrumentation takes longest, so it comes first and last.
    VbsQuestion vbs = AskVbs();
    MachineFacts facts;
    facts.computer = ComputerName();
    facts.user = UserName();
    facts.now = ReadMoment().utc;
    facts.monitor = GatherFile(ModulePath(nullptr));
    facts.host = GatherFile(target.host);
    facts.library = GatherFile(target.library);
    facts.platform = GatherPlatform(target);
    facts.log = GatherLog(target);
    facts.gpu = GatherGpu(target);
    facts.rights = GatherRights();
    facts.workers = RunningPrograms({FileNameOf(target.host)});
    facts.amdSwitch = GatherSwitch(target);
    facts.windows = GatherWindows();
    facts.cpu = GatherCpu();
    facts.driver = GatherDriver(target);
    const auto answer = vbs.Within(kVbsLimit);
    facts.cpu.vbs = answer.value_or(std::nullopt);
    facts.cpu.vbsIsLate = !answer;
    return facts;
}

std::wstring FileNameOf(const std::wstring& path) {
    return path.substr(path.find_last_of(L"\\/") + 1);
}

std::optional<uint32_t> MachineNumber(const wchar_t* key, const wchar_t* name) {
    DWORD value = 0;
    DWORD size = sizeof(value);
    const LSTATUS status =
        RegGetValueW(HKEY_LOCAL_MACHINE, key, name, RRF_RT_REG_DWORD, nullptr, &value, &size);
    return status == ERROR_SUCCESS ? std::optional<uint32_t>(value) : std::nullopt;
}

std::string OneLine(std::wstring text) {
    std::replace_if(
        text.begin(), text.end(),
        [](wchar_t c) { return c < L' ' || (c >= L'\x7F' && c < L'\xA0'); }, L'?');
    return ToUtf8(text);
}

}  // namespace zorvane
