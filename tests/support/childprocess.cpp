#include "tests/support/childprocess.h"

#include <windows.h>
// After windows.h, which it needs.
#include <tlhelp32.h>

#include <stdexcept>

#include "base/callerror.h"

namespace {

zorvane::CUniqueHandle CreateInheritable(const std::wstring& path) {
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    return zorvane::OwnFile(CreateFileW(
        path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        &inheritable, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

HANDLE CreateKillingJob() {
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof(limits));
    return job;
}

}  // namespace

CChildProcess::CChildProcess(const std::wstring& program, const std::wstring& words,
                             const std::vector<zorvane::EnvironmentChange>& environment)
    : m_job(CreateKillingJob()) {
    std::wstring commandLine = L"\"" + program + L"\" " + words;
    std::vector<wchar_t> block = zorvane::ChangedOwnEnvironment(environment);
    const zorvane::CUniqueHandle output = CreateInheritable(m_folder.PathOf(L"output"));
    const zorvane::CUniqueHandle errors = CreateInheritable(m_folder.PathOf(L"errors"));
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output.get();
    startup.hStdError = errors.get();
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE,
                        CREATE_SUSPENDED | CREATE_UNICODE_ENVIRONMENT, block.data(), nullptr,
                        &startup, &process)) {
        throw std::runtime_error(Describe(zorvane::LastCallError("CreateProcessW")));
    }
    const zorvane::CUniqueHandle thread(process.hThread);
    m_process.reset(process.hProcess);
    m_id = process.dwProcessId;
    AssignProcessToJobObject(m_job.get(), m_process.get());
    ResumeThread(thread.get());
}

CChildProcess::~CChildProcess() { Kill(); }

std::optional<DWORD> CChildProcess::Wait(DWORD timeoutMs) const {
    DWORD code = 0;
    if (WaitForSingleObject(m_process.get(), timeoutMs) != WAIT_OBJECT_0 ||
        !GetExitCodeProcess(m_process.get(), &code)) {
        return std::nullopt;
    }
    return code;
}

void CChildProcess::Kill() const {
    constexpr UINT kKilled = 99;
    TerminateProcess(m_process.get(), kKilled);
    WaitForSingleObject(m_process.get(), INFINITE);
}

// By the name, too: the id of a process is given anew, so a process of another kind can have had a
// parent of the same id.
zorvane::CUniqueHandle CChildProcess::OpenChild(const wchar_t* name) const {
    const zorvane::CUniqueHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL more = Process32FirstW(snapshot.get(), &entry); more;
         more = Process32NextW(snapshot.get(), &entry)) {
        if (entry.th32ParentProcessID == m_id && _wcsicmp(entry.szExeFile, name) == 0) {
            return zorvane::CUniqueHandle(OpenProcess(
                SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, entry.th32ProcessID));
        }
    }
    return nullptr;
}
