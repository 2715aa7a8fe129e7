/** Paths of the modules of this process. */
#pragma once

#include <windows.h>

#include <string>

namespace zorvane {

/** The module (library or program) that this code is linked into. */
HMODULE ThisModule();

/** Full path of `module`, of any length; null: the program's. Empty when Windows gives none. */
std::wstring ModulePath(HMODULE module);

/** The folder of `module` (null: the program) with its last separator, for a name to follow. */
std::wstring ModuleFolder(HMODULE module);

/**
 * What stands before the file's name, with its last separator: a drive's root is no folder without
 * it. Empty when there is only a name.
 */
std::wstring FolderOf(const std::wstring& path);

}  // namespace zorvane
