// zorvanemon.exe: a command-line stub. Its options and exit codes: zorvanemon --help.
#include <windows.h>

#include <string>
#include <variant>
#include <vector>

#include "base/commandline.h"
#include "base/librarysearch.h"
#include "base/modulepath.h"
#include "base/text.h"
#include "monitor/commands/command.h"
#include "monitor/options/commandline.h"
#include "monitor/outcome.h"
#include "monitor/output.h"

namespace {

// The words behind the program's name in UTF-8; main's own are in the system's code page.
std::vector<std::string> CommandLineWords() {
    std::vector<std::string> result;
    for (const std::wstring& word : zorvane::SplitCommandLine(GetCommandLineW())) {
        result.push_back(zorvane::ToUtf8(word));
    }
    if (!result.empty()) {
        result.erase(result.begin());
    }
    return result;
}

int Say(const zorvane::ParseEnd& end) {
    const DWORD target = end.exitCode == 0 ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE;
    const bool isSaid = zorvane::WriteAnswer(GetStdHandle(target), end.text);
    return isSaid || end.exitCode != 0 ? end.exitCode : zorvane::kExitOutput;
}

}  // namespace

int main() {
    zorvane::NarrowLibrarySearch();
    // The worker inherits this: nobody is asked anything when a vendor library crashes.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);

    const zorvane::Commands commands = zorvane::MakeCommands();
    const auto parsed = zorvane::ParseCommandLine(commands, CommandLineWords());
    if (const auto* end = std::get_if<zorvane::ParseEnd>(&parsed)) {
        return Say(*end);
    }
    const auto& chosen = std::get<zorvane::Chosen>(parsed);
    return chosen.command->Run(
        {zorvane::ModuleFolder(nullptr) + L"zorvanehost.exe", chosen.passedOn});
}
