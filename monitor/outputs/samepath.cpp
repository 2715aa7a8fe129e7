#include "monitor/outputs/samepath.h"

#include <windows.h>

#include "base/modulepath.h"

namespace zorvane {

bool IsSamePath(const std::wstring& left, const std::wstring& right) {
    return !left.empty() && !right.empty() &&
           CompareStringOrdinal(FullPath(left).c_str(), -1, FullPath(right).c_str(), -1, TRUE) ==
               CSTR_EQUAL;
}

}  // namespace zorvane
