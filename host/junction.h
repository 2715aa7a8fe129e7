/** Directory junctions. */
#pragma once

#include <optional>
#include <string>

#include "base/callerror.h"

/**
 * Turns the empty folder `folder` into a junction to the folder `target`, an absolute path on a
 * local drive. Unlike a symbolic link it takes no privilege, and unlike a hard link no right to
 * write to the target. RemoveDirectoryW removes it without touching the target. Wine makes none.
 */
[[nodiscard]] std::optional<zorvane::CallError> MakeJunction(const std::wstring& folder,
                                                             const std::wstring& target);
