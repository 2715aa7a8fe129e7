#pragma once

#include <windows.h>

#include "monitor/commands/command.h"
#include "monitor/doctor/gather.h"

namespace zorvane {

/** Looks at this PC and says which readings are possible, and what stands in the way of others. */
class CDoctorCommand : public ICommand {
  public:
    std::string Name() const override { return "doctor"; }
    std::string Description() const override {
        return "Say what can be reported on this PC, and what to do about the rest";
    }
    void Declare(CLI::App& app) override;
    int Run(const CommandContext& context) override;

  private:
    MachineFacts Look(const DoctorTarget& target) const;
    int Show(const MachineFacts& facts, HANDLE report) const;
    std::string m_host;
    std::string m_library;
    std::string m_only;
    bool m_json = false;
    bool m_probe = false;
    std::string m_report;
    bool m_overwrite = false;
    bool m_noMask = false;
    std::string m_askNvml;
};

}  // namespace zorvane
