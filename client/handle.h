/** Owners of Windows handles, one kind each. */
#pragma once

#include <windows.h>

#include <memory>

namespace zorvane {

struct CHandleCloser {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

/** Owns a process, thread, job or event handle, whose invalid value is null. */
using CUniqueHandle = std::unique_ptr<void, CHandleCloser>;

}  // namespace zorvane
