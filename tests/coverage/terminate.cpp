// Linked into the hosts of a build that counts branches. They end themselves by TerminateProcess,
// after which neither their destructors nor those of the DLL write the counts. The variable is what
// the program calls the function through; the linker takes it before the one of the import library.
#include <windows.h>

extern "C" {
#include <gcov.h>
}

namespace {

FARPROC Find(const wchar_t* module, const char* function) {
    const HMODULE loaded = GetModuleHandleW(module);
    return loaded ? GetProcAddress(loaded, function) : nullptr;
}

BOOL WINAPI CountAndTerminate(HANDLE process, UINT exitCode) {
    if (process == GetCurrentProcess()) {
        if (const FARPROC write = Find(L"Zorvane.dll", "WriteCoverageCounts")) {
            write();
        }
        __gcov_dump();
    }
    const auto terminate = reinterpret_cast<BOOL(WINAPI*)(HANDLE, UINT)>(
        reinterpret_cast<void*>(Find(L"kernel32.dll", "TerminateProcess")));
    return terminate(process, exitCode);
}

}  // namespace

extern "C" {
extern BOOL(WINAPI* const __imp_TerminateProcess)(HANDLE, UINT);
BOOL(WINAPI* const __imp_TerminateProcess)(HANDLE, UINT) = CountAndTerminate;
}
