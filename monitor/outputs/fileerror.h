#pragma once

#include <string>

#include "base/callerror.h"
#include "base/text.h"

namespace zorvane {

/** The calling thread's last error as the failure of `call` on a file. */
inline CallError LastFileError(const char* call, const std::wstring& path) {
    CallError error = LastCallError(call);
    error.call += " " + ToUtf8(path);
    return error;
}

}  // namespace zorvane
