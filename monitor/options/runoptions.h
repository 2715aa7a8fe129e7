#pragma once

#include <string>

#include "monitor/options/optiongroup.h"
#include "monitor/run/run.h"

namespace zorvane {

/** When to end: --count and --duration. */
class CRunOptions {
  public:
    /** Adds the options to a command; this object stays where it is meanwhile. */
    void Declare(CLI::App& app);

    /** After parsing. */
    RunLimits Get() const;

  private:
    std::string m_count;
    std::string m_duration;
};

}  // namespace zorvane
