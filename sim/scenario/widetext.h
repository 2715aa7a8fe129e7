/** UTF-8 to UTF-16 and back. */
#pragma once

#include <string>
#include <string_view>

/** Bytes that are no UTF-8 become U+FFFD. */
std::wstring ToWide(std::string_view text);

std::string ToUtf8(std::wstring_view text);
