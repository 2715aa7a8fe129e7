// zorvanehost: a process for the worker library. The command line goes to the library as it is;
// --library=PATH names another library than the one beside this program.
#include <windows.h>

#include "host/reporterror.h"
#include "host/workerlibrary.h"
#include "src/process/commandlineargs.h"

int main() {
    // A worker has nobody to answer a message box.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);

    CommandLineArgs args;
    args.SetCommandLine(GetCommandLineW());
    args.Parse();
    std::wstring path = CWorkerLibrary::DefaultPath();
    args.GetValue(L"--library", path);

    CWorkerLibrary library;
    std::wstring error;
    const HostExit loaded = library.Load(path, error);
    if (loaded != HostExit::kOrderlyEnd) {
        ReportError(error);
        return static_cast<int>(loaded);
    }
    library.Run(GetCommandLineW());
    return static_cast<int>(HostExit::kOrderlyEnd);
}
