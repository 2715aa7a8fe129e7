/** Why a worker has no log. */
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "monitor/reasons/findreason.h"

namespace zorvane {

/** The worker's log, beside the library that it has loaded. */
std::wstring LogPathOf(const std::wstring& library);

/**
 * Why a worker, which has been running for a while, has written nothing into the log at `path`.
 * Looks at the file and its folder and changes nothing. `readError` is the Windows error with which
 * this process fails to read the file.
 */
Explanation ExplainMissingLog(const std::wstring& path, const std::optional<DWORD>& readError);

/** For a worker whose process does not tell which library it has loaded. */
Explanation ExplainUnknownLog();

}  // namespace zorvane
