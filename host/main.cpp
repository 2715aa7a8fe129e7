// zorvanehost: a process for the worker library. The command line goes to the library as it is;
// what the host reads of it: zorvanehost --help.
#include <windows.h>

#include "base/librarysearch.h"
#include "base/textstream.h"
#include "host/hostexit.h"
#include "host/hostwords.h"
#include "host/reporterror.h"
#include "host/runworker.h"
#include "host/workerlibrary.h"

namespace {

int Fail(HostExit exit, const std::wstring& error) {
    ReportError(error);
    return static_cast<int>(exit);
}

}  // namespace

int main() {
    zorvane::NarrowLibrarySearch();
    // Nobody would see or close a message box of the worker.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);

    std::wstring error;
    const HostWords words = ReadHostWords(GetCommandLineW(), error);
    if (!error.empty()) {
        return Fail(HostExit::kBadWord, error);
    }
    if (words.help) {
        return zorvane::WriteText(GetStdHandle(STD_OUTPUT_HANDLE), kHostHelp) ? 1 : 0;
    }
    CWorkerLibrary library;
    const HostExit loaded =
        library.Load(words.libraryPath.value_or(CWorkerLibrary::DefaultPath()), error);
    if (loaded != HostExit::kOrderlyEnd) {
        return Fail(loaded, error);
    }
    RunWorker(library, words);
}
