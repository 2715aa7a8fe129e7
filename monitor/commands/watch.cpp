#include "monitor/commands/watch.h"

#include "monitor/commands/runsource.h"
#include "monitor/options/fullpath.h"
#include "monitor/sources/startfacts.h"
#include "monitor/sources/warningsource.h"

namespace zorvane {

void CWatchCommand::Declare(CLI::App& app) {
    m_worker.Declare(app);
    m_keeping.Declare(app);
    m_run.Declare(app);
    m_display.Declare(app);
    m_warnings.Declare(app);
}

std::string CWatchCommand::ObstacleAsService() const {
    const std::wstring out = m_display.Get().out;
    if (out.empty()) {
        return "a service has no console: watch needs --out FILE";
    }
    const std::string obstacle = FullPathObstacle("--out", out);
    return obstacle.empty() ? m_worker.ObstacleAsService() : obstacle;
}

int CWatchCommand::Run(const CommandContext& context) {
    const WorkerSourceOptions options = m_keeping.Get(m_worker.Get(context));
    CWorkerSource worker(options, MakeStart(options.worker));
    CWarningSource source(worker, m_warnings.Get());
    return RunSource(source, m_display, m_run.Get(), context.companions);
}

}  // namespace zorvane
