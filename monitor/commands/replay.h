#pragma once

#include "monitor/commands/command.h"
#include "monitor/options/displayoptions.h"
#include "monitor/options/runoptions.h"
#include "monitor/options/warningoptions.h"

namespace zorvane {

/** Shows a recording as if its worker ran now. */
class CReplayCommand : public ICommand {
  public:
    std::string Name() const override { return "replay"; }
    std::string Description() const override { return "Show a recording again"; }
    void Declare(CLI::App& app) override;
    int Run(const CommandContext& context) override;

  private:
    std::string m_file;
    std::string m_speed = "1";
    bool m_atOnce = false;
    CRunOptions m_run;
    CDisplayOptions m_display;
    CWarningOptions m_warnings;
};

}  // namespace zorvane
