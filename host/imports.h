/** The import table of a library file. */
#pragma once

#include <string>
#include <vector>

/**
 * Names of the libraries that the file at `path` imports, in the order of its import table. Empty
 * when the file is not a 64-bit library or its table is damaged; nothing of it is run.
 */
std::vector<std::wstring> ImportedLibraries(const std::wstring& path);
