#include "tests/campaigns/faults/failure.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <string_view>

namespace {

constexpr uint64_t kMinusOne = ~uint64_t{0};
constexpr uint32_t kNoMemory = ERROR_NOT_ENOUGH_MEMORY;

constexpr Failure CannotFail(const char* function) { return {function, true, 0, 0, nullptr}; }

constexpr Failure Fails(const char* function, uint64_t answer, uint32_t lastError,
                        const char* tells = nullptr) {
    return {function, false, answer, lastError, tells};
}

constexpr Failure kFailures[] = {
    // The service manager. What cannot be closed or stopped is not told.
    Fails("CloseServiceHandle", 0, ERROR_INVALID_HANDLE),
    Fails("ControlService", 0, ERROR_SERVICE_NOT_ACTIVE),
    Fails("CreateServiceW", 0, ERROR_ACCESS_DENIED, "CreateService error: 5"),
    Fails("DeleteService", 0, ERROR_ACCESS_DENIED),
    Fails("OpenSCManagerW", 0, ERROR_ACCESS_DENIED, "QueryDrvService failed."),
    Fails("OpenServiceW", 0, ERROR_ACCESS_DENIED, "OpenService error. 5"),
    Fails("QueryServiceStatus", 0, ERROR_ACCESS_DENIED),
    Fails("StartServiceW", 0, ERROR_ACCESS_DENIED, "Service not running. 5"),
    // The registry.
    CannotFail("RegCloseKey"),
    Fails("RegOpenKeyExW", ERROR_FILE_NOT_FOUND, 0),
    Fails("RegQueryValueExW", ERROR_FILE_NOT_FOUND, 0),
    // Locks, and what only looks or answers.
    CannotFail("AcquireSRWLockExclusive"),
    CannotFail("AcquireSRWLockShared"),
    CannotFail("ReleaseSRWLockExclusive"),
    CannotFail("ReleaseSRWLockShared"),
    CannotFail("DeleteCriticalSection"),
    CannotFail("EnterCriticalSection"),
    CannotFail("InitializeCriticalSection"),
    CannotFail("LeaveCriticalSection"),
    CannotFail("GetCommandLineW"),
    CannotFail("GetCurrentProcess"),
    CannotFail("GetCurrentProcessId"),
    CannotFail("GetCurrentThreadId"),
    CannotFail("GetLastError"),
    CannotFail("SetLastError"),
    CannotFail("OutputDebugStringW"),
    // It fails for those who do not own the mutex, which the appender relies on.
    CannotFail("ReleaseMutex"),
    // It reads memory of a window that is just being told something.
    CannotFail("GetWindowLongPtrW"),
    CannotFail("Sleep"),
    CannotFail("VerSetConditionMask"),
    CannotFail("GetNativeSystemInfo"),
    CannotFail("RtlGetNtVersionNumbers"),
    // Exceptions: the compiler's runtime has no other way, so neither has a test.
    CannotFail("RaiseException"),
    CannotFail("RtlCaptureContext"),
    CannotFail("RtlLookupFunctionEntry"),
    CannotFail("RtlUnwindEx"),
    CannotFail("RtlVirtualUnwind"),
    CannotFail("TerminateProcess"),
    // Objects, files, modules.
    Fails("CloseHandle", 0, ERROR_INVALID_HANDLE),
    Fails("CreateEventW", 0, kNoMemory),
    Fails("CreateFileW", kMinusOne, ERROR_FILE_NOT_FOUND),
    Fails("CreateMutexW", 0, ERROR_ACCESS_DENIED),
    Fails("DisableThreadLibraryCalls", 0, ERROR_INVALID_HANDLE),
    Fails("ExpandEnvironmentStringsW", 0, kNoMemory, "CNvmlInfoTask::Init file not exist."),
    Fails("FreeLibrary", 0, ERROR_INVALID_HANDLE),
    Fails("GetModuleFileNameW", 0, ERROR_INSUFFICIENT_BUFFER),
    Fails("GetModuleHandleW", 0, ERROR_MOD_NOT_FOUND),
    Fails("GetPrivateProfileIntW", 0, ERROR_FILE_NOT_FOUND, "sdk_flag is off..."),
    Fails("GetProcAddress", 0, ERROR_PROC_NOT_FOUND),
    Fails("IsWow64Process2", 0, ERROR_INVALID_PARAMETER),
    Fails("LoadLibraryW", 0, ERROR_MOD_NOT_FOUND, "NVML DLL is not installed"),
    Fails("LocalFree", 1, ERROR_INVALID_HANDLE),
    Fails("MultiByteToWideChar", 0, ERROR_NO_UNICODE_TRANSLATION),
    Fails("OpenMutexW", 0, ERROR_ACCESS_DENIED),
    Fails("SetEvent", 0, ERROR_INVALID_HANDLE),
    Fails("VerifyVersionInfoW", 0, ERROR_OLD_WIN_VERSION, "IsSupportedOS not workstation"),
    Fails("VirtualProtect", 0, ERROR_INVALID_ADDRESS),
    Fails("VirtualQuery", 0, ERROR_INVALID_PARAMETER),
    Fails("WaitForSingleObject", WAIT_FAILED, ERROR_INVALID_HANDLE),
    Fails("WideCharToMultiByte", 0, ERROR_INSUFFICIENT_BUFFER),
    Fails("WritePrivateProfileStringW", 0, ERROR_ACCESS_DENIED),
    // The C runtime.
    CannotFail("__iob_func"),
    CannotFail("_amsg_exit"),
    CannotFail("_errno"),
    CannotFail("_initterm"),
    CannotFail("_lock"),
    CannotFail("_unlock"),
    CannotFail("_wcsicmp"),
    CannotFail("_wtoi"),
    CannotFail("abort"),
    CannotFail("free"),
    CannotFail("fwrite"),
    CannotFail("iswspace"),
    CannotFail("memchr"),
    CannotFail("memcmp"),
    CannotFail("memcpy"),
    CannotFail("memmove"),
    CannotFail("memset"),
    CannotFail("strcmp"),
    CannotFail("strlen"),
    CannotFail("strncmp"),
    CannotFail("vfprintf"),
    CannotFail("wcslen"),
    CannotFail("wcstombs"),
    Fails("_beginthreadex", 0, 0, "OnCreate failed, process quit."),
    Fails("_close", kMinusOne, 0),
    Fails("_ftime64_s", EINVAL, 0),
    Fails("_localtime64", 0, 0),
    Fails("_localtime64_s", EINVAL, 0),
    Fails("_lseek", kMinusOne, 0),
    Fails("_read", kMinusOne, 0),
    Fails("_snprintf", kMinusOne, 0),
    Fails("_snwprintf", kMinusOne, 0),
    Fails("_ultow_s", EINVAL, 0),
    Fails("_vscwprintf", kMinusOne, 0),
    Fails("_vsnwprintf", kMinusOne, 0),
    Fails("_wcsupr_s", EINVAL, 0),
    Fails("_wremove", kMinusOne, 0),
    Fails("_write", kMinusOne, 0),
    Fails("_wsopen_s", EACCES, 0),
    Fails("calloc", 0, 0),
    Fails("malloc", 0, 0),
    Fails("realloc", 0, 0),
    // COM.
    CannotFail("CoUninitialize"),
    CannotFail("SysFreeString"),
    CannotFail("VariantInit"),
    Fails("CoCreateInstance", static_cast<uint32_t>(REGDB_E_CLASSNOTREG), 0),
    Fails("CoInitializeEx", static_cast<uint32_t>(E_OUTOFMEMORY), 0),
    Fails("CoInitializeSecurity", static_cast<uint32_t>(RPC_E_TOO_LATE), 0),
    Fails("CoSetProxyBlanket", static_cast<uint32_t>(E_NOINTERFACE), 0),
    Fails("SysAllocString", 0, 0),
    Fails("VariantClear", static_cast<uint32_t>(DISP_E_BADVARTYPE), 0),
    // The shell.
    Fails("CommandLineToArgvW", 0, kNoMemory),
    Fails("IsUserAnAdmin", 0, 0, "User is not admin..."),
    CannotFail("StrStrIW"),
    Fails("PathAppendW", 0, 0),
    Fails("PathFileExistsW", 0, ERROR_FILE_NOT_FOUND),
    Fails("PathRemoveFileSpecW", 0, 0),
    // Windows and messages.
    CannotFail("DispatchMessageW"),
    CannotFail("PostQuitMessage"),
    CannotFail("TranslateMessage"),
    Fails("CreateWindowExW", 0, kNoMemory, "Create MsgLoopWnd failed."),
    Fails("DefWindowProcW", 0, 0, "Create MsgLoopWnd failed."),
    Fails("DestroyWindow", 0, ERROR_ACCESS_DENIED),
    Fails("GetMessageW", kMinusOne, ERROR_INVALID_WINDOW_HANDLE),
    Fails("IsWindow", 0, ERROR_INVALID_WINDOW_HANDLE),
    Fails("KillTimer", 0, ERROR_INVALID_PARAMETER),
    Fails("LoadCursorW", 0, ERROR_RESOURCE_NAME_NOT_FOUND),
    Fails("PeekMessageW", 0, 0),
    Fails("PostMessageW", 0, ERROR_NOT_ENOUGH_QUOTA),
    Fails("RegisterClassExW", 0, kNoMemory, "Create MsgLoopWnd failed."),
    Fails("SendNotifyMessageW", 0, ERROR_INVALID_WINDOW_HANDLE),
    Fails("SendMessageTimeoutW", 0, ERROR_TIMEOUT),
    Fails("SetTimer", 0, kNoMemory),
    Fails("SetWindowLongPtrW", 0, ERROR_INVALID_WINDOW_HANDLE),
    Fails("UnregisterClassW", 0, ERROR_CLASS_HAS_WINDOWS),
    // The vendors. AMD's function answers a reference, which has no failure.
    CannotFail("?GetPlatform@@YAAEAVIPlatform@@XZ"),
    Fails("nvmlInit_v2", 999, 0, "nvmlInit failed, ret = 999"),
    Fails("nvmlDeviceGetCount_v2", 999, 0, "nvmlDeviceGetCount failed, ret = 999"),
    Fails("nvmlErrorString", 0, 0),
#ifdef ZORVANE_CHECKED
    // What the checks themselves need.
    CannotFail("CreateSemaphoreW"),
    CannotFail("CryptAcquireContextA"),
    CannotFail("CryptGenRandom"),
    CannotFail("CryptReleaseContext"),
    CannotFail("IsDBCSLeadByteEx"),
    CannotFail("ReleaseSemaphore"),
    CannotFail("TlsAlloc"),
    CannotFail("TlsFree"),
    CannotFail("TlsGetValue"),
    CannotFail("TlsSetValue"),
    CannotFail("___lc_codepage_func"),
    CannotFail("___mb_cur_max_func"),
    CannotFail("_assert"),
    CannotFail("_exit"),
    CannotFail("_open"),
    CannotFail("fputc"),
    CannotFail("getenv"),
    CannotFail("isspace"),
    CannotFail("localeconv"),
    CannotFail("sprintf"),
    CannotFail("strerror"),
    CannotFail("strstr"),
    CannotFail("strtoul"),
#endif
};

// Code of every other function of NVML: "unknown error".
constexpr Failure kNvmlFailure = Fails("nvml", 999, 0);

constexpr std::string_view kAllocations[] = {"calloc", "malloc", "realloc", "SysAllocString"};

// These come from arguments that are wrong from the first call on, or mean that nothing at all can
// be told to or heard by a window. No Windows fails them for good under a process that still runs.
constexpr std::string_view kNeverForGood[] = {"GetMessageW", "WaitForSingleObject"};

}  // namespace

const Failure* FindFailure(const std::string& function) {
    const auto* const found =
        std::find_if(std::begin(kFailures), std::end(kFailures),
                     [&](const Failure& failure) { return function == failure.function; });
    if (found != std::end(kFailures)) {
        return found;
    }
    return function.starts_with("nvml") ? &kNvmlFailure : nullptr;
}

bool MayFailForGood(const Failure& failure) {
    return std::find(std::begin(kNeverForGood), std::end(kNeverForGood), failure.function) ==
           std::end(kNeverForGood);
}

bool IsAllocation(const std::string& function) {
    return std::find(std::begin(kAllocations), std::end(kAllocations), function) !=
           std::end(kAllocations);
}

uint64_t Fail(const Failure& failure, uint64_t* arguments) {
    const std::string_view function = failure.function;
    if (failure.lastError != 0) {
        SetLastError(failure.lastError);
    }
    if (function == "_wsopen_s") {
        *reinterpret_cast<int*>(arguments[0]) = -1;
    }
    if (IsAllocation(std::string(function))) {
        errno = ENOMEM;
    }
    return failure.answer;
}
