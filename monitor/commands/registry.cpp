#include "monitor/commands/command.h"
#include "monitor/commands/doctor.h"
#include "monitor/commands/list.h"
#include "monitor/commands/record.h"
#include "monitor/commands/replay.h"
#include "monitor/commands/report.h"
#include "monitor/commands/reset.h"
#include "monitor/commands/serve.h"
#include "monitor/commands/service.h"
#include "monitor/commands/watch.h"

namespace zorvane {

Commands MakeCommands() {
    Commands commands;
    commands.push_back(std::make_unique<CWatchCommand>());
    commands.push_back(std::make_unique<CListCommand>());
    commands.push_back(std::make_unique<CRecordCommand>());
    commands.push_back(std::make_unique<CReplayCommand>());
    commands.push_back(std::make_unique<CServeCommand>());
    commands.push_back(std::make_unique<CReportCommand>());
    commands.push_back(std::make_unique<CDoctorCommand>());
    commands.push_back(std::make_unique<CServiceCommand>());
    commands.push_back(std::make_unique<CResetCommand>());
    return commands;
}

}  // namespace zorvane
