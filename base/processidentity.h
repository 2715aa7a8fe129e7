/** Identifying a process by more than its id, which Windows uses again. */
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/callerror.h"
#include "base/handle.h"

namespace zorvane {

/** Windows reuses the ids of ended processes; the creation time tells the processes apart. */
struct ProcessIdentity {
    DWORD id = 0;
    /** As GetProcessTimes gives it: units of 100 ns since 1601. */
    uint64_t creationTime = 0;
};

/**
 * The identity of the process behind a handle with query rights. Without them, an identity that no
 * process has.
 */
ProcessIdentity IdentityOf(HANDLE process);

/** The calling process. */
ProcessIdentity OwnIdentity();

/** "<id>:<creation time>", both in decimal. */
std::wstring IdentityText(const ProcessIdentity& identity);

/** Parses what IdentityText returns; empty for anything else. */
std::optional<ProcessIdentity> ParseIdentity(std::wstring_view text);

/** What FindProcess has found. */
struct FoundProcess {
    /** Signalled once the process has ended. Null if it has ended already or cannot be opened. */
    CUniqueHandle handle;
    /** Why it cannot be opened; empty otherwise. */
    std::optional<CallError> error;
};

/** Opens this very process with the right to wait for its end. */
FoundProcess FindProcess(const ProcessIdentity& identity);

}  // namespace zorvane
