#pragma once

#include "monitor/commands/command.h"
#include "monitor/options/keepingoptions.h"
#include "monitor/options/runoptions.h"
#include "monitor/options/serveoptions.h"
#include "monitor/options/warningoptions.h"
#include "monitor/options/workeroptions.h"

namespace zorvane {

/** Watches, and shows what happens as a page in the browser. */
class CServeCommand : public ICommand {
  public:
    std::string Name() const override { return "serve"; }
    std::string Description() const override {
        return "Watch, and show what happens as a page in the browser and to Prometheus";
    }
    void Declare(CLI::App& app) override;
    bool TakesWords() const override { return true; }
    std::string ObstacleAsService() const override { return m_worker.ObstacleAsService(); }
    int Run(const CommandContext& context) override;

  private:
    CServeOptions m_serve;
    CWorkerOptions m_worker;
    CKeepingOptions m_keeping;
    CRunOptions m_run;
    CWarningOptions m_warnings;
};

}  // namespace zorvane
