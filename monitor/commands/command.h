/** What zorvanemon can be told to do. */
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "monitor/options/optiongroup.h"

namespace zorvane {

/** One sub-command. Its parsing fills the object, so one serves one command line. */
class ICommand {
  public:
    virtual ~ICommand() = default;

    /** In lower case. */
    virtual std::string Name() const = 0;

    /** One sentence for the list of commands and the head of its help. */
    virtual std::string Description() const = 0;

    /** Adds options and examples to the parser's part that is this command's. */
    virtual void Declare(CLI::App& app) = 0;

    /** Whether it starts a worker, which takes words: known ones, and any behind "--". */
    virtual bool TakesWords() const { return false; }

    /**
     * After parsing: why this cannot run as a service, which has no console and runs until it is
     * stopped, in a sentence; empty when it can.
     */
    virtual std::string ObstacleAsService() const {
        return "\"" + Name() + "\" does not run until it is stopped, so it makes no service.";
    }

    /** After parsing: does it, and gives the exit code. */
    virtual int Run(const CommandContext& context) = 0;
};

using Commands = std::vector<std::unique_ptr<ICommand>>;

/** All commands, in the order of the help; the first is meant where none is named. */
Commands MakeCommands();

}  // namespace zorvane
