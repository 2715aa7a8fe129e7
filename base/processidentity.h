/** Naming a process so that its name never fits another one. */
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/callerror.h"
#include "base/handle.h"

namespace zorvane {

/** Windows gives the ids of ended processes to new ones; the time of creation tells them apart. */
struct ProcessIdentity {
    DWORD id = 0;
    /** As GetProcessTimes gives it: units of 100 ns since 1601. */
    uint64_t creationTime = 0;
};

/**
 * The process of a handle that may query it. Of a handle that may not, an identity that no process
 * has.
 */
ProcessIdentity IdentityOf(HANDLE process);

/** The calling process. */
ProcessIdentity OwnIdentity();

/** "<id>:<creation time>", both in decimal. */
std::wstring IdentityText(const ProcessIdentity& identity);

/** Reads what IdentityText writes; empty for everything else. */
std::optional<ProcessIdentity> ParseIdentity(std::wstring_view text);

/** An attempt to reach a process. */
struct FoundProcess {
    /** Signalled once the process has ended. Null when it has gone, or cannot be opened. */
    CUniqueHandle handle;
    /** Why it cannot be opened, if that is so. */
    std::optional<CallError> error;
};

/** Opens exactly this process, for waiting. */
FoundProcess FindProcess(const ProcessIdentity& identity);

}  // namespace zorvane
