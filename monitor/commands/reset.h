#pragma once

#include <string>

#include "monitor/commands/command.h"

namespace zorvane {

/** Switches the CPU temperature on again, which a run that could not read it has switched off. */
class CResetCommand : public ICommand {
  public:
    std::string Name() const override { return "reset"; }
    std::string Description() const override {
        return "Switch the CPU temperature on again, after a run has switched it off";
    }
    void Declare(CLI::App& app) override;
    int Run(const CommandContext& context) override;

  private:
    std::string m_host;
};

}  // namespace zorvane
