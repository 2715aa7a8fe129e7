/** Windows errors as values and as text. */
#pragma once

#include <windows.h>

#include <string>

namespace zorvane {

/** A Windows call that failed. */
struct CallError {
    /** The name of the call, and of the object where that helps. UTF-8. */
    std::string call;
    /** GetLastError right after the call. */
    DWORD code = ERROR_SUCCESS;
};

/** The calling thread's last error as the failure of `call`. */
CallError LastCallError(const char* call);

/** "<the system's text> (<code>)" in one line; "unknown error (<code>)" where it has no text. */
std::wstring DescribeCode(DWORD code);

/** "<call>: <the system's text> (<code>)" in one line, UTF-8. */
std::string Describe(const CallError& error);

}  // namespace zorvane
