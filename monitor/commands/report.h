#pragma once

#include <string>

#include "monitor/commands/command.h"

namespace zorvane {

/** Makes a page of a recording: one file with everything inside. */
class CReportCommand : public ICommand {
  public:
    std::string Name() const override { return "report"; }
    std::string Description() const override {
        return "Make a page of a recording: one file that opens without a network";
    }
    void Declare(CLI::App& app) override;
    int Run(const CommandContext& context) override;

  private:
    std::string m_recording;
    std::string m_file;
    std::string m_doctor;
    bool m_mask = false;
    bool m_overwrite = false;
};

}  // namespace zorvane
