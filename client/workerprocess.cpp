#include "client/workerprocess.h"

#include <string>
#include <vector>

#include "base/text.h"
#include "client/startupinfo.h"

namespace zorvane {
namespace {

// A job that ends its processes when its last handle goes, and keeps the system's dialog away.
std::optional<CallError> MakeJob(CUniqueHandle& job) {
    job.reset(CreateJobObjectW(nullptr, nullptr));
    if (!job) {
        return LastCallError("CreateJobObjectW");
    }
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags =
        JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE | JOB_OBJECT_LIMIT_DIE_ON_UNHANDLED_EXCEPTION;
    if (!SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits,
                                 sizeof(limits))) {
        return LastCallError("SetInformationJobObject");
    }
    return std::nullopt;
}

DWORD CreationFlags() {
    const DWORD flags = CREATE_SUSPENDED | CREATE_UNICODE_ENVIRONMENT |
                        EXTENDED_STARTUPINFO_PRESENT | CREATE_NEW_PROCESS_GROUP;
    // The host is a console program: without a console of the stub's it would open one.
    const bool hasConsole = GetConsoleCP() != 0;
    return hasConsole ? flags : flags | CREATE_NO_WINDOW;
}

}  // namespace

std::optional<CallError> CWorkerProcess::Start(const WorkerCommand& command, HWND stubWindow,
                                               HWND endWindow, UINT endMessage) {
    Close();
    CUniqueHandle job;
    if (auto error = MakeJob(job)) {
        return error;
    }
    CStartupInfo startup;
    if (auto error = startup.Prepare()) {
        return error;
    }

    std::wstring line = BuildCommandLine(command, stubWindow);
    std::vector<wchar_t> environment = ChangedOwnEnvironment(command.environment);
    PROCESS_INFORMATION created{};
    if (!CreateProcessW(command.host.c_str(), line.data(), nullptr, nullptr, startup.Inherits(),
                        CreationFlags(), environment.data(), nullptr, startup.Get(), &created)) {
        CallError error = LastCallError("CreateProcessW");
        error.call += " " + ToUtf8(command.host);
        return error;
    }
    const CUniqueHandle thread(created.hThread);
    m_process.reset(created.hProcess);
    m_id = created.dwProcessId;

    // It has not run yet, so nothing that it may start can escape the job.
    std::optional<CallError> failure;
    m_notice = {endWindow, endMessage};
    if (!AssignProcessToJobObject(job.get(), m_process.get())) {
        failure = LastCallError("AssignProcessToJobObject");
    } else if (!RegisterWaitForSingleObject(&m_wait, m_process.get(), &OnEnd, &m_notice, INFINITE,
                                            WT_EXECUTEONLYONCE)) {
        failure = LastCallError("RegisterWaitForSingleObject");
    } else if (ResumeThread(thread.get()) == static_cast<DWORD>(-1)) {
        failure = LastCallError("ResumeThread");
    }
    m_job = std::move(job);
    if (failure) {
        Close();
    }
    return failure;
}

std::optional<CallError> CWorkerProcess::Terminate() {
    if (!m_process || ExitCode()) {
        return std::nullopt;
    }
    if (TerminateProcess(m_process.get(), kTerminatedCode)) {
        return std::nullopt;
    }
    CallError error = LastCallError("TerminateProcess");
    // A process that is just ending cannot be ended any more.
    if (ExitCode()) {
        return std::nullopt;
    }
    return error;
}

void CWorkerProcess::Close() {
    if (m_wait) {
        UnregisterWaitEx(m_wait, INVALID_HANDLE_VALUE);
    }
    m_wait = nullptr;
    Terminate();
    m_process.reset();
    m_job.reset();
    m_id = 0;
}

std::optional<DWORD> CWorkerProcess::ExitCode() const {
    if (!m_process || WaitForSingleObject(m_process.get(), 0) != WAIT_OBJECT_0) {
        return std::nullopt;
    }
    DWORD code = 0;
    if (!GetExitCodeProcess(m_process.get(), &code)) {
        return std::nullopt;
    }
    return code;
}

void CALLBACK CWorkerProcess::OnEnd(void* notice, BOOLEAN) noexcept {
    const auto* target = static_cast<const EndNotice*>(notice);
    PostMessageW(target->window, target->message, 0, 0);
}

}  // namespace zorvane
