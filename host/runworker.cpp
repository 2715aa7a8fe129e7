#include "host/runworker.h"

#include <thread>
#include <utility>

#include "base/text.h"
#include "host/hostexit.h"
#include "host/leftovers.h"
#include "host/nvmlfolder.h"
#include "host/reporterror.h"
#include "host/runningexport.h"
#include "host/stubwatch.h"
#include "host/systemend.h"

namespace {

// A failure to watch the stub or the session is no reason not to run: the worker still reads.
void Note(const std::optional<zorvane::CallError>& error) {
    if (error) {
        ReportError(zorvane::ToWide(zorvane::Describe(*error)));
    }
}

// For a process that has already ended: an event that is signalled, as its handle would be.
zorvane::CUniqueHandle OpenStub(const HostWords& words) {
    if (!words.parent) {
        return nullptr;
    }
    zorvane::FoundProcess stub = zorvane::FindProcess(*words.parent);
    if (stub.error) {
        ReportError(L"the stub's process cannot be watched: " +
                    zorvane::ToWide(zorvane::Describe(*stub.error)));
        return nullptr;
    }
    return stub.handle ? std::move(stub.handle)
                       : zorvane::CUniqueHandle(CreateEventW(nullptr, TRUE, TRUE, nullptr));
}

void Say(const std::wstring& line) {
    if (!line.empty()) {
        ReportError(line);
    }
}

}  // namespace

void RunWorker(const CWorkerLibrary& library, const HostWords& words) {
    // Deliberately leaked: other threads use them until the process ends. One waits for the service
    // manager and one for the desktop, so they wait at once.
    CLeftovers* leftovers = nullptr;
    std::thread look([&leftovers] { leftovers = new CLeftovers(); });
    const auto* worker = new CRunningExport(OpenStub(words));
    Note(HoldSystemEnd(*worker));
    look.join();
    Say(leftovers->SystemNvml().Prepare(words.nvml));
    if (!leftovers->SystemNvml().IsUsed()) {
        AddNvmlFolder();
    }
    Say(leftovers->CpuSwitch().Note());
    if (worker->Stub()) {
        Note(WatchStub(*worker, *leftovers));
    }
    library.Run(GetCommandLineW());
    leftovers->ClearAway();
    worker->SetEnded();
    // A vendor's library can hang when it is told of the end of the process. By then Windows has
    // ended all other threads, so nobody could end a worker whose stub has gone.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(HostExit::kOrderlyEnd));
    ExitProcess(static_cast<UINT>(HostExit::kOrderlyEnd));
}
