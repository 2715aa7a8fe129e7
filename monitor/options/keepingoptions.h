#pragma once

#include <string>

#include "monitor/options/optiongroup.h"
#include "monitor/sources/workersource.h"

namespace zorvane {

/** When a worker rests or is replaced in a long run: --on-battery and --max-age. */
class CKeepingOptions {
  public:
    /** Adds the options to a command; this object stays where it is meanwhile. */
    void Declare(CLI::App& app);

    /** After parsing: the same worker, kept as these options say. */
    WorkerSourceOptions Get(WorkerSourceOptions worker) const;

  private:
    std::string m_onBattery = "run";
    std::string m_maxAge;
};

}  // namespace zorvane
