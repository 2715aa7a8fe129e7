// zorvanemon.exe: a command-line stub. Its options and exit codes: zorvanemon --help.
#include <windows.h>
// After windows.h, which it needs.
#include <shellapi.h>

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "base/modulepath.h"
#include "base/text.h"
#include "monitor/interrupts.h"
#include "monitor/monitor.h"
#include "monitor/options.h"
#include "monitor/outcome.h"
#include "monitor/output.h"
#include "monitor/view.h"

namespace {

// The words behind the program's name in UTF-8; main's own are in the system's code page.
std::vector<std::string> CommandLineWords() {
    int count = 0;
    LPWSTR* words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> result;
    for (int i = 1; i < count; ++i) {
        result.push_back(zorvane::ToUtf8(words[i]));
    }
    LocalFree(words);
    return result;
}

zorvane::ExitCode RunMonitor(const zorvane::Options& options) {
    zorvane::COutput output(GetStdHandle(STD_OUTPUT_HANDLE));
    const std::unique_ptr<zorvane::IView> view = zorvane::MakeView(options.format, output);
    zorvane::CInterrupts interrupts;
    if (const auto error = interrupts.Install()) {
        zorvane::WriteNote(zorvane::Describe(*error));
        return zorvane::kExitNotStarted;
    }
    return zorvane::CMonitor(options, *view, output, interrupts).Run();
}

}  // namespace

int main() {
    // The worker inherits this: nobody is asked anything when a vendor library crashes.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);

    const auto parsed = zorvane::ParseOptions(CommandLineWords(),
                                              zorvane::ModuleFolder(nullptr) + L"zorvanehost.exe");
    if (const auto* end = std::get_if<zorvane::ParseEnd>(&parsed)) {
        const DWORD target = end->exitCode == 0 ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE;
        zorvane::COutput(GetStdHandle(target)).Write(end->text);
        return end->exitCode;
    }
    return RunMonitor(std::get<zorvane::Options>(parsed));
}
