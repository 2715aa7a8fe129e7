#pragma once

#include <string>
#include <vector>

#include "monitor/options/optiongroup.h"
#include "monitor/sources/workersource.h"

namespace zorvane {

/** Which worker to start, and how to keep it: --host, --library, --nvml, --env and the like. */
class CWorkerOptions {
  public:
    /** Adds the options and the words to a command; this object stays where it is meanwhile. */
    void Declare(CLI::App& app);

    /** After parsing. `passedOn` goes to the worker behind the words. */
    WorkerSourceOptions Get(const CommandContext& context) const;

    /** After parsing: why a service cannot start this worker; empty if it can. */
    std::string ObstacleAsService() const;

  private:
    std::string m_host;
    std::string m_libraryPath;
    std::string m_entry = "zorvanemon";
    std::string m_nvml;
    std::vector<std::string> m_variables;
    bool m_isDemo = false;
    bool m_noRestart = false;
    std::string m_staleAfter = "5";
    std::vector<std::string> m_words;
};

}  // namespace zorvane
