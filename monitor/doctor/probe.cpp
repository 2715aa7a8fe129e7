#include "monitor/doctor/probe.h"

#include <windows.h>

#include <cstddef>
#include <vector>

#include "base/commandline.h"
#include "base/handle.h"
#include "base/text.h"
#include "monitor/doctor/gather.h"

namespace zorvane {
namespace {

// All that the asking process ever writes fits, so it never waits for us.
constexpr DWORD kPipeSize = 1024 * 1024;

struct Pipe {
    CUniqueHandle read;
    CUniqueHandle write;
};

Pipe MakePipe() {
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    if (!CreatePipe(&read, &write, &inherited, kPipeSize)) {
        return {};
    }
    SetHandleInformation(read, HANDLE_FLAG_INHERIT, 0);
    return {CUniqueHandle(read), CUniqueHandle(write)};
}

// A job that ends with us, so that a process that hangs does not stay.
CUniqueHandle MakeJob() {
    CUniqueHandle job(CreateJobObjectW(nullptr, nullptr));
    if (!job) {
        return job;
    }
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits));
    return job;
}

CUniqueHandle StartIn(HANDLE job, const std::wstring& program, const std::wstring& nvml,
                      HANDLE output) {
    std::wstring line =
        QuoteWord(program) + L" doctor " + ToWide(kProbeOption) + L" " + QuoteWord(nvml);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output;
    PROCESS_INFORMATION created{};
    if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE,
                        CREATE_SUSPENDED | CREATE_NO_WINDOW, nullptr, nullptr, &startup,
                        &created)) {
        return nullptr;
    }
    const CUniqueHandle thread(created.hThread);
    AssignProcessToJobObject(job, created.hProcess);
    ResumeThread(created.hThread);
    return CUniqueHandle(created.hProcess);
}

std::string ReadAll(HANDLE pipe) {
    std::string text;
    std::vector<char> part(65536);
    DWORD read = 0;
    while (ReadFile(pipe, part.data(), static_cast<DWORD>(part.size()), &read, nullptr) &&
           read > 0) {
        text.append(part.data(), read);
    }
    return text;
}

ProbeFacts Failed(DWORD error) {
    ProbeFacts probe;
    probe.error = error;
    return probe;
}

// Windows ends a process that crashes with the exception's code.
bool IsCrash(DWORD exitCode) { return exitCode >= 0x80000000; }

}  // namespace

ProbeFacts ProbeNvml(const std::wstring& program, const std::wstring& nvml,
                     std::chrono::milliseconds limit) {
    Pipe pipe = MakePipe();
    if (!pipe.read) {
        return Failed(GetLastError());
    }
    const CUniqueHandle job = MakeJob();
    if (!job) {
        return Failed(GetLastError());
    }
    const CUniqueHandle process = StartIn(job.get(), program, nvml, pipe.write.get());
    if (!process) {
        return Failed(GetLastError());
    }
    const DWORD waited = WaitForSingleObject(process.get(), static_cast<DWORD>(limit.count()));
    const bool isLate = waited == WAIT_TIMEOUT;
    if (isLate) {
        TerminateJobObject(job.get(), ERROR_TIMEOUT);
        WaitForSingleObject(process.get(), INFINITE);
    }
    pipe.write.reset();
    ProbeFacts probe = ReadProbeLines(ReadAll(pipe.read.get()));
    probe.path = OneLine(nvml);
    DWORD exitCode = 0;
    GetExitCodeProcess(process.get(), &exitCode);
    if (isLate) {
        probe.outcome = ProbeFacts::Outcome::kTimedOut;
    } else if (exitCode != 0) {
        probe.outcome =
            IsCrash(exitCode) ? ProbeFacts::Outcome::kCrashed : ProbeFacts::Outcome::kFailed;
        probe.error = exitCode;
    }
    return probe;
}

}  // namespace zorvane
