// zorvanemon.exe: a command-line stub. Its options and exit codes: zorvanemon --help.
#include <windows.h>
// After windows.h, which it needs.
#include <shellapi.h>

#include <string>
#include <variant>
#include <vector>

#include "client/text.h"
#include "monitor/commands/command.h"
#include "monitor/options/commandline.h"
#include "monitor/outcome.h"
#include "monitor/output.h"

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

int Say(const zorvane::ParseEnd& end) {
    const DWORD target = end.exitCode == 0 ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE;
    zorvane::COutput output(GetStdHandle(target));
    output.Write(end.text);
    const bool isLost = output.Failure() && !output.IsReaderGone();
    if (isLost && end.exitCode == 0) {
        zorvane::WriteNote(zorvane::Describe(*output.Failure()));
        return zorvane::kExitOutput;
    }
    return end.exitCode;
}

}  // namespace

int main() {
    // The worker inherits this: nobody is asked anything when a vendor library crashes.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);

    const zorvane::Commands commands = zorvane::MakeCommands();
    const auto parsed = zorvane::ParseCommandLine(commands, CommandLineWords());
    if (const auto* end = std::get_if<zorvane::ParseEnd>(&parsed)) {
        return Say(*end);
    }
    const auto& chosen = std::get<zorvane::Chosen>(parsed);
    return chosen.command->Run({DefaultHost(), chosen.passedOn});
}
