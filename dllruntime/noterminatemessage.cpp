#include <windows.h>

#include <exception>

// Takes the place of the handler that libstdc++ installs for std::terminate. That one writes the
// exception's name to a standard error stream that a DLL's process rarely has, and brings 46 KB of
// name demangling for it. It would then call abort, which may show a message box; a DLL shows
// nothing. The exit code is the one that abort ends with.
void __gnu_cxx::__verbose_terminate_handler() {
    constexpr UINT kAbortExitCode = 3;
    TerminateProcess(GetCurrentProcess(), kAbortExitCode);
    // Not reached; the declaration of the handler does not say so.
    __builtin_unreachable();
}
