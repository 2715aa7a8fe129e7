/** A Windows call that failed, kept as a value until somebody shows it. */
#pragma once

#include <windows.h>

#include <string>

namespace zorvane {

struct CallError {
    /** The call's name, and what it was called on where that helps. UTF-8. */
    std::string call;
    /** What GetLastError gave right after the call. */
    DWORD code = ERROR_SUCCESS;
};

/** The calling thread's last error as the failure of `call`. */
CallError LastCallError(const char* call);

/** "<call>: <the system's text> (<code>)", without a line end. */
std::string Describe(const CallError& error);

}  // namespace zorvane
