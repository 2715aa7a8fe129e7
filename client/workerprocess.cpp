#include "client/workerprocess.h"

#include <string>
#include <vector>

#include "base/text.h"
#include "client/startupinfo.h"

namespace zorvane {
namespace {

DWORD CreationFlags() {
    const DWORD flags =
        CREATE_UNICODE_ENVIRONMENT | EXTENDED_STARTUPINFO_PRESENT | CREATE_NEW_PROCESS_GROUP;
    // The host is a console program: without a console of the stub's it would open one.
    const bool hasConsole = GetConsoleCP() != 0;
    return hasConsole ? flags : flags | CREATE_NO_WINDOW;
}

}  // namespace

std::optional<CallError> CWorkerProcess::Start(const WorkerCommand& command, HWND stubWindow,
                                               HWND endWindow, UINT endMessage) {
    Close();
    CStartupInfo startup;
    if (auto error = startup.Prepare()) {
        return error;
    }

    std::wstring line = BuildCommandLine(command, stubWindow, OwnIdentity());
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
    m_notice = {endWindow, endMessage};
    if (!RegisterWaitForSingleObject(&m_wait, m_process.get(), &OnEnd, &m_notice, INFINITE,
                                     WT_EXECUTEONLYONCE)) {
        const CallError error = LastCallError("RegisterWaitForSingleObject");
        Terminate();
        Close();
        return error;
    }
    return std::nullopt;
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
    m_process.reset();
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
