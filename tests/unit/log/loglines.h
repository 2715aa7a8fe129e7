/** Helpers for tests of the log. */
#pragma once

#include <ctime>
#include <string>
#include <vector>

#include "tests/support/importpatch.h"

/** The texts of a log's lines, without the stamps; a line that is not whole reads "torn: ...". */
std::vector<std::string> LogTexts(const std::wstring& path);

/** The name of the mutex that the users of the log at `path` share. */
std::wstring LogMutexName(const std::wstring& path);

/** The pointer through which the program calls _localtime64_s: MinGW resolves it at run time. */
void** LocalTimeEntry();

/** A patch of that pointer. */
using CLocalTimePatch = CImportPatch<errno_t(tm*, const __time64_t*)>;
