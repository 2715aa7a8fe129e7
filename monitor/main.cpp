// zorvanemon.exe: a command-line stub. Its options and exit codes: zorvanemon --help.
#include <windows.h>
// After windows.h, which it needs.
#include <shellapi.h>

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "client/text.h"
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

// zorvanehost.exe beside this program.
std::wstring DefaultHost() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            break;
        }
        path.resize(path.size() * 2);
    }
    return path.substr(0, path.find_last_of(L'\\') + 1) + L"zorvanehost.exe";
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

    const auto parsed = zorvane::ParseOptions(CommandLineWords(), DefaultHost());
    if (const auto* end = std::get_if<zorvane::ParseEnd>(&parsed)) {
        const DWORD target = end->exitCode == 0 ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE;
        zorvane::COutput(GetStdHandle(target)).Write(end->text);
        return end->exitCode;
    }
    return RunMonitor(std::get<zorvane::Options>(parsed));
}
