#pragma once

#include <windows.h>

#include <string>

namespace zorvane {

/**
 * The path of the library with this file name, in any letter case, that `process` has loaded. Empty
 * when it has none, has ended, or Windows does not say. The handle needs the rights to query the
 * process and to read its memory.
 */
std::wstring FindLoadedLibrary(HANDLE process, const std::wstring& fileName);

}  // namespace zorvane
