/** A folder for the files of one run of the host. */
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/callerror.h"
#include "base/processidentity.h"

/** Who may write to the folder. */
enum class RunFolderOwner {
    /** The user of this process: the folder lies in the user's local application data. */
    kUser,
    /**
     * Administrators and the system alone, from its creation on: it lies in the folder of programs,
     * where ordinary users can neither create nor rename nor delete anything. Application data for
     * all users or Windows' folder of temporary files would not do as well: there anybody can take
     * a name beforehand.
     */
    kAdministrators,
};

/** In which folder run folders are made; the user's environment has no say in it. */
std::wstring RunFolderPlace(RunFolderOwner owner);

/** The folder's name for a process. */
std::wstring RunFolderName(const zorvane::ProcessIdentity& process);

/** Whose folder this is; empty for a name that is no run folder's. */
std::optional<zorvane::ProcessIdentity> RunFolderProcess(std::wstring_view name);

/**
 * Creates `path`. What is already there is refused, link or folder, whoever owns it; so is, for
 * administrators, a volume that keeps no access rights. Nothing is left after a failure.
 */
[[nodiscard]] std::optional<zorvane::CallError> MakeRunFolder(const std::wstring& path,
                                                              RunFolderOwner owner);

/** The run folders in `place` whose processes have ended; full paths. */
std::vector<std::wstring> LeftRunFolders(const std::wstring& place);
