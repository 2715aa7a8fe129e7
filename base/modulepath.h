/** Paths of the modules of this process. */
#pragma once

#include <windows.h>

#include <string>

namespace zorvane {

/** The module (library or program) that this code is linked into. */
HMODULE ThisModule();

/** Full path of `module`, of any length; null: the program's. Empty when Windows gives none. */
std::wstring ModulePath(HMODULE module);

/** The folder of `module` (null: the program) with a separator at its end. */
std::wstring ModuleFolder(HMODULE module);

/**
 * What comes before the file name, with the separator: without it "C:" would not mean the root.
 * Empty if there is only a file name.
 */
std::wstring FolderOf(const std::wstring& path);

/** The path from the root of its drive on; as it is where Windows gives none. */
std::wstring FullPath(const std::wstring& path);

}  // namespace zorvane
