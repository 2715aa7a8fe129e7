/** Start-up information of a worker. */
#pragma once

#include <windows.h>

#include <optional>
#include <vector>

#include "base/callerror.h"
#include "base/handle.h"

namespace zorvane {

/**
 * For a child that inherits standard error, if there is one, and no other handle: the host's error
 * line appears where the stub's own do, and no other handle of the stub stays open in the worker.
 */
class CStartupInfo {
  public:
    CStartupInfo() = default;
    ~CStartupInfo();
    CStartupInfo(const CStartupInfo&) = delete;
    CStartupInfo& operator=(const CStartupInfo&) = delete;

    /** Call once, before Get. Returns the error if it fails. */
    [[nodiscard]] std::optional<CallError> Prepare();

    /** For CreateProcessW with EXTENDED_STARTUPINFO_PRESENT; valid as long as this object. */
    STARTUPINFOW* Get() { return &m_info.StartupInfo; }

    /** For CreateProcessW's bInheritHandles. */
    BOOL Inherits() const { return m_standardError != nullptr; }

  private:
    STARTUPINFOEXW m_info{};
    std::vector<std::byte> m_attributes;
    CUniqueHandle m_standardError;
    /** The attribute list keeps a pointer to this one. */
    HANDLE m_inherited = nullptr;
};

}  // namespace zorvane
