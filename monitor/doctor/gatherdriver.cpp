#include <windows.h>

#include <softpub.h>
#include <wintrust.h>

#include "base/modulepath.h"
#include "monitor/doctor/gather.h"
#include "src/amdsdk/driverservice.h"
#include "src/amdsdk/servicehandle.h"

namespace zorvane {
namespace {

constexpr wchar_t kServicesKey[] = L"SYSTEM\\CurrentControlSet\\Services\\";
constexpr wchar_t kBlocklistKey[] = L"SYSTEM\\CurrentControlSet\\Control\\CI\\Config";
constexpr std::chrono::milliseconds kTrustLimit(1000);

// Consoles that keep a service's handle, and AMD's own program, which keeps the driver's device.
const std::wstring kHolders[] = {L"mmc.exe", L"AMD Ryzen Master.exe"};

LONG VerifyFile(const std::wstring& path) {
    WINTRUST_FILE_INFO file{};
    file.cbStruct = sizeof(file);
    file.pcwszFilePath = path.c_str();
    WINTRUST_DATA data{};
    data.cbStruct = sizeof(data);
    data.dwUIChoice = WTD_UI_NONE;
    data.fdwRevocationChecks = WTD_REVOKE_NONE;
    data.dwUnionChoice = WTD_CHOICE_FILE;
    data.pFile = &file;
    data.dwStateAction = WTD_STATEACTION_VERIFY;
    // Nothing is asked of the network.
    data.dwProvFlags = WTD_CACHE_ONLY_URL_RETRIEVAL;
    GUID action = WINTRUST_ACTION_GENERIC_VERIFY_V2;
    const auto nobody = static_cast<HWND>(INVALID_HANDLE_VALUE);
    const LONG result = WinVerifyTrust(nobody, &action, &data);
    data.dwStateAction = WTD_STATEACTION_CLOSE;
    WinVerifyTrust(nobody, &action, &data);
    return result;
}

SignatureState StateOf(LONG result) {
    switch (result) {
        case ERROR_SUCCESS:
            return SignatureState::kValid;
        case TRUST_E_NOSIGNATURE:
            return SignatureState::kUnsigned;
        // The providers that would know are not installed.
        case TRUST_E_PROVIDER_UNKNOWN:
        case TRUST_E_ACTION_UNKNOWN:
        case TRUST_E_SUBJECT_FORM_UNKNOWN:
            return SignatureState::kUnknown;
        default:
            return SignatureState::kInvalid;
    }
}

SignatureFacts GatherSignature(const std::wstring& path) {
    CPendingAnswer<LONG> question([path] { return VerifyFile(path); });
    const std::optional<LONG> result = question.Within(kTrustLimit);
    return result ? SignatureFacts{StateOf(*result), static_cast<uint32_t>(*result)}
                  : SignatureFacts{SignatureState::kUnknown, WAIT_TIMEOUT};
}

// "\??\C:\..." as the service manager keeps a driver's path.
std::wstring WithoutPrefix(const std::wstring& path) {
    constexpr wchar_t kPrefix[] = L"\\??\\";
    return path.starts_with(kPrefix) ? path.substr(std::size(kPrefix) - 1) : path;
}

void AskConfiguration(const CServiceHandle& handle, ServiceFacts& service) {
    // As much as Windows ever gives.
    alignas(QUERY_SERVICE_CONFIGW) BYTE bytes[8192];
    DWORD needed = 0;
    auto* config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(bytes);
    if (!QueryServiceConfigW(handle.get(), config, sizeof(bytes), &needed)) {
        return;
    }
    if (config->lpBinaryPathName) {
        service.imagePath = OneLine(WithoutPrefix(config->lpBinaryPathName));
    }
}

// With the least rights: the worker's own question takes all, and deletes a service that is
// stopped.
ServiceFacts GatherService(const DoctorTarget& target) {
    ServiceFacts service;
    const CServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager) {
        service.error = GetLastError();
        return service;
    }
    const CServiceHandle handle(OpenServiceW(manager.get(), kDriverServiceName,
                                             SERVICE_QUERY_STATUS | SERVICE_QUERY_CONFIG));
    if (!handle) {
        const DWORD error = GetLastError();
        service.error = error == ERROR_SERVICE_DOES_NOT_EXIST ? ERROR_SUCCESS : error;
        return service;
    }
    service.installed = true;
    SERVICE_STATUS status{};
    if (!QueryServiceStatus(handle.get(), &status)) {
        service.error = GetLastError();
        return service;
    }
    service.state = status.dwCurrentState;
    AskConfiguration(handle, service);
    const std::wstring key = std::wstring(kServicesKey) + kDriverServiceName;
    service.markedForDelete = MachineNumber(key.c_str(), L"DeleteFlag").value_or(0) != 0;
    std::vector<std::wstring> holders(std::begin(kHolders), std::end(kHolders));
    holders.push_back(FileNameOf(target.host));
    service.holders = RunningPrograms(holders);
    return service;
}

void GatherCodeIntegrity(DriverFacts& driver) {
    using Query = LONG NTAPI(ULONG what, void* answer, ULONG size, ULONG* needed);
    constexpr ULONG kCodeIntegrity = 103;
    constexpr ULONG kTestSigning = 0x02;
    constexpr ULONG kMemoryIntegrity = 0x400;
    struct Answer {
        ULONG length;
        ULONG options;
    };
    const auto query = reinterpret_cast<Query*>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    Answer answer{sizeof(answer), 0};
    ULONG length = 0;
    if (query && query(kCodeIntegrity, &answer, sizeof(answer), &length) >= 0) {
        driver.testSigning = (answer.options & kTestSigning) != 0;
        driver.memoryIntegrity = (answer.options & kMemoryIntegrity) != 0;
    }
}

}  // namespace

DriverFacts GatherDriver(const DoctorTarget& target) {
    const std::wstring path = FolderOf(target.host) + kDriverFileName;
    DriverFacts driver;
    driver.file = GatherFile(path);
    if (driver.file.exists) {
        driver.signature = GatherSignature(path);
    }
    driver.service = GatherService(target);
    GatherCodeIntegrity(driver);
    if (const auto enabled = MachineNumber(kBlocklistKey, L"VulnerableDriverBlocklistEnable")) {
        driver.blocklist = *enabled != 0;
    }
    return driver;
}

}  // namespace zorvane
