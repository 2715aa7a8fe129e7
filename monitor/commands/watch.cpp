#include "monitor/commands/watch.h"

#include "monitor/commands/runsource.h"
#include "monitor/sources/startfacts.h"
#include "monitor/sources/warningsource.h"

namespace zorvane {

void CWatchCommand::Declare(CLI::App& app) {
    m_worker.Declare(app);
    m_run.Declare(app);
    m_display.Declare(app);
    m_warnings.Declare(app);
}

int CWatchCommand::Run(const CommandContext& context) {
    const WorkerSourceOptions options = m_worker.Get(context);
    CWorkerSource worker(options, MakeStart(options.worker));
    CWarningSource source(worker, m_warnings.Get());
    return RunSource(source, m_display, m_run.Get(), context.companions);
}

}  // namespace zorvane
