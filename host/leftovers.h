/** What a run leaves behind on the machine, and the host takes back. */
#pragma once

#include "host/keptcpuswitch.h"
#include "host/leftoverservice.h"
#include "host/systemnvml.h"

/** Made before the library's export is entered; a program makes one and never destroys it. */
class CLeftovers {
  public:
    CLeftovers();

    const CKeptCpuSwitch& CpuSwitch() const { return m_cpuSwitch; }
    CSystemNvml& SystemNvml() { return m_systemNvml; }

    /** Once the export has returned, or will not. From any thread; a second time does nothing. */
    void ClearAway() const;

  private:
    const CKeptCpuSwitch m_cpuSwitch;
    CSystemNvml m_systemNvml;
    const CLeftoverService m_service;
};
