/** zorvanemon's command line. */
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "monitor/commands/command.h"

namespace zorvane {

/** A command whose options have been read. */
struct Chosen {
    ICommand* command = nullptr;
    /** The words behind "--". */
    std::vector<std::string> passedOn;
};

/** There is nothing to run: the help was asked for, or the command line is wrong. */
struct ParseEnd {
    /** 0, or kExitUsage. */
    int exitCode = 0;
    /** For standard output if exitCode is 0, for standard error otherwise; ends with a line end. */
    std::string text;
};

/** Reads the words behind the program's name, in UTF-8, into one of the commands. */
std::variant<Chosen, ParseEnd> ParseCommandLine(const Commands& commands,
                                                const std::vector<std::string>& words);

}  // namespace zorvane
