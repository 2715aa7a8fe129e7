#pragma once

#include <string>

namespace zorvane {

/** Whether two paths are one, from the current folder; an empty path is none. */
bool IsSamePath(const std::wstring& left, const std::wstring& right);

}  // namespace zorvane
