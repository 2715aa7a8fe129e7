/** The folder of Windows' own libraries. */
#pragma once

#include <string>

namespace zorvane {

/** "C:\Windows\System32\", with the separator at its end; empty when Windows names none. */
std::wstring SystemFolder();

}  // namespace zorvane
