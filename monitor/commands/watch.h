#pragma once

#include "monitor/commands/command.h"
#include "monitor/options/displayoptions.h"
#include "monitor/options/keepingoptions.h"
#include "monitor/options/runoptions.h"
#include "monitor/options/warningoptions.h"
#include "monitor/options/workeroptions.h"

namespace zorvane {

/** Starts a worker and shows what it reports. */
class CWatchCommand : public ICommand {
  public:
    std::string Name() const override { return "watch"; }
    std::string Description() const override {
        return "Start a worker and show what it reports (without a command: this one)";
    }
    void Declare(CLI::App& app) override;
    bool TakesWords() const override { return true; }
    std::string ObstacleAsService() const override;
    int Run(const CommandContext& context) override;

    /** What the command line said, after parsing. */
    WorkerSourceOptions WorkerPart(const CommandContext& context) const {
        return m_keeping.Get(m_worker.Get(context));
    }
    RunLimits RunPart() const { return m_run.Get(); }
    ViewOptions DisplayPart() const { return m_display.Get(); }
    Thresholds WarningPart() const { return m_warnings.Get(); }

  private:
    CWorkerOptions m_worker;
    CKeepingOptions m_keeping;
    CRunOptions m_run;
    CDisplayOptions m_display;
    CWarningOptions m_warnings;
};

}  // namespace zorvane
