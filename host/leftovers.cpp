#include "host/leftovers.h"

#include "base/modulepath.h"

CLeftovers::CLeftovers()
    : m_cpuSwitch(FindCurableCauses(), zorvane::CCpuSwitch(zorvane::ModuleFolder(nullptr))) {}

void CLeftovers::ClearAway() const {
    m_cpuSwitch.PutBack();
    m_systemNvml.Remove();
    // Last: a hung driver can block the service manager for ever.
    m_service.Remove();
}
