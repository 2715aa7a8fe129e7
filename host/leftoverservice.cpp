#include "host/leftoverservice.h"

#include <windows.h>

#include "src/amdsdk/driverservice.h"
#include "src/amdsdk/servicehandle.h"

namespace {

// A service that cannot be queried counts as registered: better to leave it than to delete one that
// this run did not install.
bool IsRegistered() {
    const CServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager) {
        return true;
    }
    const CServiceHandle service(
        OpenServiceW(manager.get(), kDriverServiceName, SERVICE_QUERY_STATUS));
    return service || GetLastError() != ERROR_SERVICE_DOES_NOT_EXIST;
}

}  // namespace

CLeftoverService::CLeftoverService() : m_wasRegistered(IsRegistered()) {}

void CLeftoverService::Remove() const {
    if (!m_wasRegistered && IsRegistered()) {
        DeleteDriver();
    }
}
