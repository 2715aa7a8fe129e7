/** A command line of zorvanemon that runs in the test's own process. */
#pragma once

#include <windows.h>

#include <string>
#include <variant>
#include <vector>

#include "monitor/options/commandline.h"
#include "tests/support/standardfile.h"

namespace zorvane {

struct CommandResult {
    int exitCode = 0;
    std::string output;
    std::string errors;
};

/** What an output is that cannot be written. */
inline constexpr DWORD kUnwritable = GENERIC_READ;

/**
 * Does what zorvanemon does with these words, so that a test can make Windows' functions fail.
 * A refusal of the words counts as written to standard error.
 */
inline CommandResult RunCommand(const std::vector<std::string>& words,
                                DWORD outputAccess = GENERIC_WRITE) {
    const Commands commands = MakeCommands();
    const auto parsed = ParseCommandLine(commands, words);
    if (const auto* end = std::get_if<ParseEnd>(&parsed)) {
        return {end->exitCode, "", end->text};
    }
    const CTempFolder folder;
    const CStandardFile output(STD_OUTPUT_HANDLE, folder.PathOf(L"output"), outputAccess);
    const CStandardFile errors(STD_ERROR_HANDLE, folder.PathOf(L"errors"));
    const auto& chosen = std::get<Chosen>(parsed);
    const int exitCode = chosen.command->Run({L"C:\\no such\\zorvanehost.exe", chosen.passedOn});
    return {exitCode, output.Text(), errors.Text()};
}

}  // namespace zorvane
