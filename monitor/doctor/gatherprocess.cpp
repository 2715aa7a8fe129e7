#include <windows.h>

#include <shlobj.h>
#include <tlhelp32.h>

#include <algorithm>

#include "base/handle.h"
#include "monitor/doctor/gather.h"

namespace zorvane {
namespace {

CUniqueHandle OpenToken(HANDLE process) {
    HANDLE token = nullptr;
    return CUniqueHandle(OpenProcessToken(process, TOKEN_QUERY, &token) ? token : nullptr);
}

std::optional<uint32_t> IntegrityOf(HANDLE process) {
    const CUniqueHandle token = OpenToken(process);
    // Room for the label and the longest SID behind it.
    alignas(TOKEN_MANDATORY_LABEL)
        BYTE bytes[sizeof(TOKEN_MANDATORY_LABEL) + SECURITY_MAX_SID_SIZE];
    DWORD size = 0;
    if (!token ||
        !GetTokenInformation(token.get(), TokenIntegrityLevel, bytes, sizeof(bytes), &size)) {
        return std::nullopt;
    }
    PSID sid = reinterpret_cast<const TOKEN_MANDATORY_LABEL*>(bytes)->Label.Sid;
    return *GetSidSubAuthority(sid, static_cast<DWORD>(*GetSidSubAuthorityCount(sid) - 1));
}

std::optional<uint32_t> SessionOf(uint32_t id) {
    DWORD session = 0;
    return ProcessIdToSessionId(id, &session) ? std::optional<uint32_t>(session) : std::nullopt;
}

ProcessFacts Describe(uint32_t id, const std::wstring& name, HANDLE process) {
    return {id, OneLine(name), SessionOf(id), process ? IntegrityOf(process) : std::nullopt};
}

CUniqueHandle OpenProcessToAsk(uint32_t id) {
    return CUniqueHandle(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id));
}

}  // namespace

RightsFacts GatherRights() {
    RightsFacts rights;
    rights.administrator = IsUserAnAdmin() != FALSE;
    rights.integrity = IntegrityOf(GetCurrentProcess());
    rights.session = SessionOf(GetCurrentProcessId()).value_or(0);
    const CUniqueHandle token = OpenToken(GetCurrentProcess());
    TOKEN_ELEVATION elevation{};
    DWORD size = 0;
    rights.elevated =
        token &&
        GetTokenInformation(token.get(), TokenElevation, &elevation, sizeof(elevation), &size) &&
        elevation.TokenIsElevated != 0;
    return rights;
}

std::optional<ProcessFacts> GatherProcess(uint32_t id) {
    const CUniqueHandle process = OpenProcessToAsk(id);
    DWORD exitCode = 0;
    if (!process || !GetExitCodeProcess(process.get(), &exitCode) || exitCode != STILL_ACTIVE) {
        return std::nullopt;
    }
    wchar_t path[MAX_PATH] = {};
    DWORD length = MAX_PATH;
    const bool isNamed = QueryFullProcessImageNameW(process.get(), 0, path, &length) != FALSE;
    return Describe(id, isNamed ? FileNameOf(std::wstring(path, length)) : L"?", process.get());
}

std::vector<ProcessFacts> RunningPrograms(const std::vector<std::wstring>& names) {
    const CUniqueHandle snapshot = OwnFile(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    std::vector<ProcessFacts> processes;
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    if (!snapshot) {
        return processes;
    }
    for (BOOL more = Process32FirstW(snapshot.get(), &entry); more;
         more = Process32NextW(snapshot.get(), &entry)) {
        const bool isWanted = std::any_of(
            names.begin(), names.end(),
            [&](const std::wstring& name) { return _wcsicmp(name.c_str(), entry.szExeFile) == 0; });
        if (isWanted) {
            const CUniqueHandle process = OpenProcessToAsk(entry.th32ProcessID);
            processes.push_back(Describe(entry.th32ProcessID, entry.szExeFile, process.get()));
        }
    }
    return processes;
}

}  // namespace zorvane
