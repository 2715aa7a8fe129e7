#pragma once

#include <string>

#include "monitor/commands/command.h"
#include "monitor/options/workeroptions.h"

namespace zorvane {

/** Shows what does not change about each GPU, from a worker or a recording, and ends. */
class CListCommand : public ICommand {
  public:
    std::string Name() const override { return "list"; }
    std::string Description() const override {
        return "List what does not change about each GPU, and end";
    }
    void Declare(CLI::App& app) override;
    bool TakesWords() const override { return true; }
    int Run(const CommandContext& context) override;

  private:
    std::string m_recording;
    std::string m_wait = "10";
    bool m_isJson = false;
    CWorkerOptions m_worker;
};

}  // namespace zorvane
