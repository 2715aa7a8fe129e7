#include "tests/support/fakeservices.h"

#include <cstring>

#include "tests/support/importpatch.h"

namespace {

constexpr wchar_t kDevicePrefix[] = L"\\\\.\\";

HANDLE DeviceHandle() { return reinterpret_cast<HANDLE>(ULONG_PTR{0x7D0}); }

template <typename Pointer>
std::string NullOr(Pointer pointer) {
    return pointer ? "not null" : "null";
}

}  // namespace

std::string Quoted(const wchar_t* text) {
    if (!text) {
        return "null";
    }
    std::string quoted = "\"";
    for (; *text != L'\0'; ++text) {
        quoted += static_cast<char>(*text);
    }
    return quoted + "\"";
}

std::string Hex(ULONGLONG number) {
    char text[20] = {};
    static_cast<void>(snprintf(text, sizeof(text), "0x%llX", number));
    return text;
}

struct CFakeServices::Patches {
    explicit Patches(CFakeServices& owner) : fake(owner) {}

    CFakeServices& fake;

    PATCH_IMPORT(openManager, OpenSCManagerW,
                 [this](LPCWSTR machine, LPCWSTR database, DWORD access) {
                     fake.Record("OpenSCManagerW",
                                 Quoted(machine) + ", " + Quoted(database) + ", " + Hex(access));
                     return fake.Succeeds("OpenSCManagerW") ? fake.NewHandle("manager") : nullptr;
                 });
    PATCH_IMPORT(openService, OpenServiceW, [this](SC_HANDLE manager, LPCWSTR name, DWORD access) {
        fake.Record("OpenServiceW",
                    fake.NameOf(manager) + ", " + Quoted(name) + ", " + Hex(access));
        return fake.Succeeds("OpenServiceW") ? fake.NewHandle("service") : nullptr;
    });
    PATCH_IMPORT(createService, CreateServiceW,
                 [this](SC_HANDLE manager, LPCWSTR name, LPCWSTR display, DWORD access, DWORD type,
                        DWORD start, DWORD errorControl, LPCWSTR path, LPCWSTR group, LPDWORD tag,
                        LPCWSTR dependencies, LPCWSTR account, LPCWSTR password) {
                     fake.Record("CreateServiceW",
                                 fake.NameOf(manager) + ", " + Quoted(name) + ", " +
                                     Quoted(display) + ", " + Hex(access) + ", " +
                                     std::to_string(type) + ", " + std::to_string(start) + ", " +
                                     std::to_string(errorControl) + ", " + Quoted(path) + ", " +
                                     Quoted(group) + ", " + NullOr(tag) + ", " +
                                     Quoted(dependencies) + ", " + Quoted(account) + ", " +
                                     Quoted(password));
                     return fake.Succeeds("CreateServiceW") ? fake.NewHandle("service") : nullptr;
                 });
    PATCH_IMPORT(startService, StartServiceW,
                 [this](SC_HANDLE service, DWORD count, LPCWSTR* arguments) {
                     fake.Record("StartServiceW", fake.NameOf(service) + ", " +
                                                      std::to_string(count) + ", " +
                                                      NullOr(arguments));
                     return fake.Succeeds("StartServiceW");
                 });
    PATCH_IMPORT(queryStatus, QueryServiceStatus,
                 [this](SC_HANDLE service, LPSERVICE_STATUS status) {
                     fake.Record("QueryServiceStatus", fake.NameOf(service));
                     status->dwCurrentState = fake.state;
                     return fake.Succeeds("QueryServiceStatus");
                 });
    PATCH_IMPORT(control, ControlService,
                 [this](SC_HANDLE service, DWORD code, LPSERVICE_STATUS status) {
                     fake.Record("ControlService", fake.NameOf(service) + ", " +
                                                       std::to_string(code) + ", " +
                                                       NullOr(status));
                     return fake.Succeeds("ControlService");
                 });
    PATCH_IMPORT(deleteService, DeleteService, [this](SC_HANDLE service) {
        fake.Record("DeleteService", fake.NameOf(service));
        return fake.Succeeds("DeleteService");
    });
    // The real function may change the last error too; code that reads it afterwards is noticed.
    PATCH_IMPORT(closeHandle, CloseServiceHandle, [this](SC_HANDLE handle) {
        fake.Record("CloseServiceHandle", fake.NameOf(handle));
        SetLastError(ERROR_INVALID_HANDLE);
        return TRUE;
    });
    PATCH_IMPORT(createFile, CreateFileW,
                 [this](LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                        DWORD disposition, DWORD flags, HANDLE templateFile) {
                     if (!path ||
                         std::wcsncmp(path, kDevicePrefix, std::wcslen(kDevicePrefix)) != 0) {
                         return createFile.Original(path, access, share, security, disposition,
                                                    flags, templateFile);
                     }
                     fake.Record("CreateFileW",
                                 Quoted(path) + ", " + Hex(access) + ", " + std::to_string(share) +
                                     ", " + NullOr(security) + ", " + std::to_string(disposition) +
                                     ", " + Hex(flags) + ", " + NullOr(templateFile));
                     return fake.Succeeds("CreateFileW") ? DeviceHandle() : INVALID_HANDLE_VALUE;
                 });
    PATCH_IMPORT(closeDevice, CloseHandle, [this](HANDLE handle) {
        if (handle != DeviceHandle()) {
            return closeDevice.Original(handle);
        }
        fake.Record("CloseHandle", "device");
        return TRUE;
    });
};

CFakeServices::CFakeServices(std::vector<std::string>& calls)
    : m_calls(calls), m_patches(std::make_unique<Patches>(*this)) {}

CFakeServices::~CFakeServices() = default;

bool CFakeServices::Succeeds(const char* function) {
    std::deque<DWORD>& next = errors[function];
    if (next.empty()) {
        return true;
    }
    const DWORD error = next.front();
    next.pop_front();
    if (error == ERROR_SUCCESS) {
        return true;
    }
    SetLastError(error);
    return false;
}

void CFakeServices::Record(const char* function, const std::string& arguments) {
    m_calls.push_back(std::string(function) + "(" + arguments + ")");
}

SC_HANDLE CFakeServices::NewHandle(const char* kind) {
    m_handleNames.push_back(kind + std::to_string(++m_handleCounts[kind]));
    return reinterpret_cast<SC_HANDLE>(m_handleNames.size());
}

std::string CFakeServices::NameOf(SC_HANDLE handle) const {
    const auto number = reinterpret_cast<ULONG_PTR>(handle);
    if (number == 0) {
        return "null";
    }
    return number <= m_handleNames.size() ? m_handleNames[number - 1] : "unknown";
}
