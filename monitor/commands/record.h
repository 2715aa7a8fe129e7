#pragma once

#include "monitor/commands/command.h"
#include "monitor/options/displayoptions.h"
#include "monitor/options/keepingoptions.h"
#include "monitor/options/runoptions.h"
#include "monitor/options/warningoptions.h"
#include "monitor/options/workeroptions.h"

namespace zorvane {

/** Watches, and keeps everything that happens in a file that CReplayCommand shows again. */
class CRecordCommand : public ICommand {
  public:
    std::string Name() const override { return "record"; }
    std::string Description() const override {
        return "Watch, and write everything that happens to a file for replay";
    }
    void Declare(CLI::App& app) override;
    bool TakesWords() const override { return true; }
    int Run(const CommandContext& context) override;

  private:
    std::string m_file;
    bool m_overwrite = false;
    CWorkerOptions m_worker;
    CKeepingOptions m_keeping;
    CRunOptions m_run;
    CDisplayOptions m_display;
    CWarningOptions m_warnings;
};

}  // namespace zorvane
