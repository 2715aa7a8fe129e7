/** Conversions between Windows' UTF-16 and the UTF-8 of terminals and files. */
#pragma once

#include <string>
#include <string_view>

namespace zorvane {

/** UTF-16 to UTF-8. Half a surrogate pair becomes U+FFFD. */
std::string ToUtf8(std::wstring_view text);

/** UTF-8 to UTF-16. Bytes that are not UTF-8 become U+FFFD. */
std::wstring ToWide(std::string_view text);

}  // namespace zorvane
