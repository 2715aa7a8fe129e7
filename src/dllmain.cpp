#include <windows.h>

#include <functional>
#include <memory>

#include "src/log/logfile.h"
#include "src/log/logger.h"
#include "src/module.h"
#include "src/process/msgloopprocess.h"
#include "src/zorvaneprocess.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason != DLL_PROCESS_ATTACH) {
        return TRUE;
    }
    DisableThreadLibraryCalls(module);
    SetModuleInstance(module);
    ModulePath path;
    GetPathBesideModule(module, ZorLog::kLogFile, path);
    ZorLog::InitLogger(path, L"E");
    return TRUE;
}

// Runs the worker on the calling thread and returns when it has ended. The command line names the
// stub window (--wnd) and this worker (--entry); it is only read. Reports nothing to its caller.
extern "C" void ZorvaneProcess(wchar_t* commandLine) {
    const auto host = std::make_shared<CMsgLoopProcess>();
    const auto manager = std::make_shared<CZorvaneProcess>();
    // A deliberate cycle: the host holds this function, and the function holds both objects, the
    // host included. They live until the process ends, which this call is the whole life of.
    std::function<void()> work =
        // NOLINTNEXTLINE(modernize-avoid-bind): a binder drops the result, as it should.
        std::bind(&IZorvaneTask::Execute, manager, std::shared_ptr<IProcess>(host));
    host->Init(commandLine, std::move(work));
    host->Run();
    ZorLog::ShutdownLogger();
}
