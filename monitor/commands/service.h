#pragma once

#include <string>
#include <vector>

#include "monitor/commands/command.h"

namespace zorvane {

/** Runs one of the other commands as a Windows service: install, remove, status. */
class CServiceCommand : public ICommand {
  public:
    std::string Name() const override { return "service"; }
    std::string Description() const override {
        return "Run zorvanemon unattended, as a Windows service: install, remove, status";
    }
    void Declare(CLI::App& app) override;
    bool TakesWords() const override { return true; }
    int Run(const CommandContext& context) override;

  private:
    using Action = int (CServiceCommand::*)(const CommandContext& context) const;

    int Install(const CommandContext& context) const;
    int Remove(const CommandContext& context) const;
    int Status(const CommandContext& context) const;
    int RunUnattended(const CommandContext& context) const;
    std::vector<std::string> RunWords(const CommandContext& context) const;

    Action m_action = &CServiceCommand::Status;
    /** What the service is to run. */
    std::vector<std::string> m_words;
    std::string m_name = "zorvanemon";
    std::string m_account = "LocalSystem";
    bool m_start = false;
};

}  // namespace zorvane
