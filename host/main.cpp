// zorvanehost: a process for the worker library. The command line goes to the library as it is;
// --library=PATH names another library than the one beside this program.
#include <windows.h>

#include "process/commandlineargs.h"
#include "reporterror.h"
#include "workerlibrary.h"

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
    const EHostExit loaded = library.Load(path, error);
    if (loaded != EHostExit::kOrderlyEnd) {
        ReportError(error);
        return static_cast<int>(loaded);
    }
    library.Run(GetCommandLineW());
    return static_cast<int>(EHostExit::kOrderlyEnd);
}
