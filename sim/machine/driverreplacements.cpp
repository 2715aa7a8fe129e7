#include "sim/machine/driverreplacements.h"

#include <windows.h>

#include <mutex>
#include <string>

#include "sim/machine/currentmachine.h"
#include "sim/scenario/calllog.h"
#include "sim/scenario/environment.h"
#include "sim/scenario/windowsfunctions.h"

namespace {

constexpr wchar_t kDriverDevice[] = L"\\\\.\\AMDRyzenMasterDriverV15";

std::mutex s_lock;

void Log(const char* function, const std::string& result) {
    LogCall(std::string(function) + "() = " + result);
}

// What the scenario sets for this call, if anything.
std::optional<Outcome> NextOutcome(const char* function) {
    const std::lock_guard guard(s_lock);
    return CurrentMachine().results.Read(function, 0, SecondsSinceProcessStart());
}

// True when the call may go on to Windows; else the last error is set.
bool MayRun(const char* function) {
    const std::optional<Outcome> outcome = NextOutcome(function);
    if (!outcome) {
        return true;
    }
    Disturb(*outcome, [&](const char* what) { Log(function, what); });
    if (outcome->result == 0) {
        return true;
    }
    Log(function, std::to_string(outcome->result));
    SetLastError(static_cast<DWORD>(outcome->result));
    return false;
}

// A function whose failure is a result of zero.
template <const char* kName, class Signature>
struct CServiceFunction;

template <const char* kName, class Result, class... Arguments>
struct CServiceFunction<kName, Result(Arguments...)> {
    static Result Call(Arguments... arguments) {
        return MayRun(kName) ? s_original(arguments...) : Result();
    }
    static Replacement Row() { return Replace(kName, &Call, s_original); }

    inline static Result (*s_original)(Arguments...) = nullptr;
};

SC_HANDLE (*s_openSCManager)(LPCWSTR, LPCWSTR, DWORD) = nullptr;

// Without administrator rights the manager opens for looking only.
SC_HANDLE OpenManager(LPCWSTR computer, LPCWSTR database, DWORD access) {
    constexpr DWORD kLooking = SC_MANAGER_CONNECT | SC_MANAGER_ENUMERATE_SERVICE |
                               SC_MANAGER_QUERY_LOCK_STATUS | STANDARD_RIGHTS_READ | GENERIC_READ;
    if (!CurrentMachine().administrator.value_or(true) && (access & ~kLooking) != 0) {
        Log(kOpenSCManagerW, std::to_string(ERROR_ACCESS_DENIED));
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    return MayRun(kOpenSCManagerW) ? s_openSCManager(computer, database, access) : nullptr;
}

HANDLE (*s_createFile)(LPCWSTR, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE) = nullptr;

HANDLE OpenFile(LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                DWORD disposition, DWORD flags, HANDLE pattern) {
    if (path && _wcsicmp(path, kDriverDevice) == 0 && !MayRun(kCreateFileW)) {
        return INVALID_HANDLE_VALUE;
    }
    return s_createFile(path, access, share, security, disposition, flags, pattern);
}

}  // namespace

std::span<const Replacement> DriverReplacements() {
    static const Replacement kRows[] = {
        Replace(kOpenSCManagerW, &OpenManager, s_openSCManager),
        Replace(kCreateFileW, &OpenFile, s_createFile),
        CServiceFunction<kOpenServiceW, decltype(OpenServiceW)>::Row(),
        CServiceFunction<kCreateServiceW, decltype(CreateServiceW)>::Row(),
        CServiceFunction<kQueryServiceStatus, decltype(QueryServiceStatus)>::Row(),
        CServiceFunction<kStartServiceW, decltype(StartServiceW)>::Row(),
        CServiceFunction<kControlService, decltype(ControlService)>::Row(),
        CServiceFunction<kDeleteService, decltype(DeleteService)>::Row(),
    };
    return kRows;
}
