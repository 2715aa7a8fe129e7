/** Owners of Windows handles. */
#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

namespace zorvane {

struct CHandleCloser {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

/** Owns a handle that CloseHandle closes; null when there is none. */
using CUniqueHandle = std::unique_ptr<void, CHandleCloser>;

/** Owns what CreateFileW answers, whose failure is INVALID_HANDLE_VALUE and not null. */
inline CUniqueHandle OwnFile(HANDLE file) {
    return CUniqueHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

struct CModuleFreer {
    void operator()(HMODULE module) const { FreeLibrary(module); }
};

/** Owns a loaded library; null when there is none. */
using CUniqueModule = std::unique_ptr<std::remove_pointer_t<HMODULE>, CModuleFreer>;

}  // namespace zorvane
