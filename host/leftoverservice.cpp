#include "host/leftoverservice.h"

#include <windows.h>

#include <vector>

#include "base/modulepath.h"
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

// A service that another copy of the product has registered names that copy's driver file.
bool NamesDriverBesideThisProgram(const CServiceHandle& service) {
    DWORD size = 0;
    QueryServiceConfigW(service.get(), nullptr, 0, &size);
    std::vector<BYTE> buffer(size);
    auto* config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.data());
    if (buffer.size() < sizeof(*config) ||
        !QueryServiceConfigW(service.get(), config, size, &size)) {
        return false;
    }
    const std::wstring registered = config->lpBinaryPathName ? config->lpBinaryPathName : L"";
    const std::wstring own = zorvane::ModuleFolder(nullptr) + kDriverFileName;
    // The service manager may keep the path in a form of its own, such as "\\??\\C:\\...".
    return registered.size() >= own.size() &&
           CompareStringOrdinal(registered.c_str() + (registered.size() - own.size()),
                                static_cast<int>(own.size()), own.c_str(),
                                static_cast<int>(own.size()), TRUE) == CSTR_EQUAL;
}

bool IsRegisteredByThisCopy() {
    const CServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager) {
        return false;
    }
    const CServiceHandle service(
        OpenServiceW(manager.get(), kDriverServiceName, SERVICE_QUERY_CONFIG));
    return service && NamesDriverBesideThisProgram(service);
}

}  // namespace

CLeftoverService::CLeftoverService() : m_wasRegistered(IsRegistered()) {}

void CLeftoverService::Remove() const {
    if (!m_wasRegistered && IsRegisteredByThisCopy()) {
        DeleteDriver();
    }
}
