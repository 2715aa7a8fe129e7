/** The switch of the CPU temperature, kept through a run that could not have read it. */
#pragma once

#include <optional>
#include <string>

#include "base/cpuswitch.h"

/** What keeps a run from reading the CPU temperature, and people can mend. */
struct CurableCauses {
    bool standIn = false;
    bool noAdministrator = false;

    bool Any() const { return standIn || noAdministrator; }
};

/** The causes that hold for this process. */
CurableCauses FindCurableCauses();

/**
 * The library switches the CPU temperature off for all later runs when it cannot be read, whatever
 * the cause. Where the cause can be mended, the host puts the switch back.
 */
class CKeptCpuSwitch {
  public:
    /** Notes the state of `theSwitch`. Made before the library's export is entered. */
    CKeptCpuSwitch(const CurableCauses& causes, zorvane::CCpuSwitch theSwitch);

    /** One line on why there will be no CPU temperature; empty when nothing is known. */
    std::wstring Note() const;

    /**
     * Puts the switch back as it was noted if there is a curable cause and the run has switched it
     * off. Other keys of the file stay. From any thread, and any number of times.
     */
    void PutBack() const;

  private:
    const CurableCauses m_causes;
    const zorvane::CCpuSwitch m_switch;
    const bool m_wasOn;
    const std::optional<std::wstring> m_value;
    const bool m_hadSection;
    const bool m_hadFile;
};
