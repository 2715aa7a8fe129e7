/** A place for runs of faultedworker. */
#pragma once

#include <string>

#include "tests/campaigns/faults/faultruns.h"
#include "tests/support/tempfolder.h"

/**
 * Scenario of a machine on which both tasks work: an older Ryzen, so that virtualisation-based
 * security is asked for, and values that do not move.
 */
extern const char kUsualMachine[];

/** A folder with the shipped library and the simulated machine, in which one run at a time is made.
 */
class CRunFolder {
  public:
    explicit CRunFolder(const std::string& scenario = kUsualMachine);

    /** `nvml` is a variant of the simulated NVML; empty: the current one. For the next runs. */
    void SetMachine(const std::string& scenario, const std::wstring& nvml);

    /** Runs once, in a log and settings of its own. */
    FaultResult Run(const std::string& words) const;

  private:
    std::wstring LogPath() const { return m_folder.PathOf(L"Log\\Qorvella_HardwareDll.log"); }

    CTempFolder m_folder;
    std::wstring m_programFiles;
};
