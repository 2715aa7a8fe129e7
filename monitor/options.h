/** zorvanemon's command line. */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "client/commandline.h"

namespace zorvane {

enum class Format { kTable, kJson };

struct Options {
    WorkerCommand worker;
    Format format = Format::kTable;
    /** Complete rounds after which the run ends. */
    std::optional<uint64_t> count;
    std::optional<std::chrono::milliseconds> duration;
    /** Whether a worker that crashed is started again. */
    bool restart = true;
};

/** The command line leads to no run: the help was asked for, or it is wrong. */
struct ParseEnd {
    /** 0, or kExitUsage. */
    int exitCode = 0;
    /** For standard output if exitCode is 0, for standard error otherwise; ends with a line end. */
    std::string text;
};

/** Reads the words behind the program's name, in UTF-8. `defaultHost` stands in for --host. */
std::variant<Options, ParseEnd> ParseOptions(std::vector<std::string> words,
                                             const std::wstring& defaultHost);

}  // namespace zorvane
