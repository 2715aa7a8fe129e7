/** A handle of the service control manager or of one of its services. */
#pragma once

#include <windows.h>

#include <memory>

struct ServiceHandleCloser {
    using pointer = SC_HANDLE;
    void operator()(SC_HANDLE handle) const { CloseServiceHandle(handle); }
};

/** Owns the handle; null when there is none. */
using CServiceHandle = std::unique_ptr<SC_HANDLE, ServiceHandleCloser>;
