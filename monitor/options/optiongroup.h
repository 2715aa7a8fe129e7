/** What groups of options have in common. */
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace zorvane {

class IView;

/** What a command knows beside its own options. */
struct CommandContext {
    /** The host program where --host names none. */
    std::wstring defaultHost;
    /** The words behind "--". */
    std::vector<std::string> passedOn;
    /** Views that see a run beside the command's own; whoever calls owns them. */
    std::vector<IView*> companions{};
};

/**
 * Adds an option with one value; given twice, the last one counts. Checks are added by the caller
 * and answer with a whole sentence without a full stop, or with an empty text.
 */
CLI::Option* AddValue(CLI::App& app, const std::string& name, std::string& value,
                      const std::string& description, const std::string& typeName);

}  // namespace zorvane
