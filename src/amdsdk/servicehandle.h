/** A handle of the service control manager or of one of its services. */
#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

struct ServiceHandleCloser {
    void operator()(SC_HANDLE handle) const { CloseServiceHandle(handle); }
};

/** Owns the handle; null when there is none. */
using CServiceHandle = std::unique_ptr<std::remove_pointer_t<SC_HANDLE>, ServiceHandleCloser>;
