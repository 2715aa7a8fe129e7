#include "monitor/commands/command.h"
#include "monitor/commands/record.h"
#include "monitor/commands/replay.h"
#include "monitor/commands/report.h"
#include "monitor/commands/serve.h"
#include "monitor/commands/watch.h"

namespace zorvane {

Commands MakeCommands() {
    Commands commands;
    commands.push_back(std::make_unique<CWatchCommand>());
    commands.push_back(std::make_unique<CRecordCommand>());
    commands.push_back(std::make_unique<CReplayCommand>());
    commands.push_back(std::make_unique<CServeCommand>());
    commands.push_back(std::make_unique<CReportCommand>());
    return commands;
}

}  // namespace zorvane
