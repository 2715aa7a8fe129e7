#include "monitor/commands/watch.h"

#include "monitor/commands/runsource.h"
#include "monitor/sources/startfacts.h"

namespace zorvane {

void CWatchCommand::Declare(CLI::App& app) {
    m_worker.Declare(app);
    m_run.Declare(app);
    m_display.Declare(app);
}

int CWatchCommand::Run(const CommandContext& context) {
    const WorkerSourceOptions options = m_worker.Get(context);
    CWorkerSource source(options, MakeStart(options.worker));
    return RunSource(source, m_display, m_run.Get());
}

}  // namespace zorvane
