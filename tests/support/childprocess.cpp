#include "tests/support/childprocess.h"

#include <stdexcept>

namespace {

HANDLE CreateInheritable(const std::wstring& path) {
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    return CreateFileW(path.c_str(), GENERIC_WRITE,
                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &inheritable,
                       CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
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
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = CreateInheritable(m_folder.PathOf(L"output"));
    startup.hStdError = CreateInheritable(m_folder.PathOf(L"errors"));
    PROCESS_INFORMATION process{};
    const BOOL created = CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE,
                                        CREATE_SUSPENDED | CREATE_UNICODE_ENVIRONMENT, block.data(),
                                        nullptr, &startup, &process);
    const DWORD error = GetLastError();
    CloseHandle(startup.hStdOutput);
    CloseHandle(startup.hStdError);
    if (!created) {
        CloseHandle(m_job);
        throw std::runtime_error("CreateProcessW fails with " + std::to_string(error));
    }
    AssignProcessToJobObject(m_job, process.hProcess);
    ResumeThread(process.hThread);
    CloseHandle(process.hThread);
    m_process = process.hProcess;
    m_id = process.dwProcessId;
}

CChildProcess::~CChildProcess() {
    Kill();
    CloseHandle(m_process);
    CloseHandle(m_job);
}

std::optional<DWORD> CChildProcess::Wait(DWORD timeoutMs) const {
    DWORD code = 0;
    if (WaitForSingleObject(m_process, timeoutMs) != WAIT_OBJECT_0 ||
        !GetExitCodeProcess(m_process, &code)) {
        return std::nullopt;
    }
    return code;
}

void CChildProcess::Kill() const {
    constexpr UINT kKilled = 99;
    TerminateProcess(m_process, kKilled);
    WaitForSingleObject(m_process, INFINITE);
}
