/** Command lines and the words that they are made of. */
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zorvane {

/** One word, quoted only if it must be, so that SplitCommandLine gives back exactly this word. */
std::wstring QuoteWord(std::wstring_view word);

/** The words of a line that has at least one; the first is the program. */
std::vector<std::wstring> SplitCommandLine(const std::wstring& line);

}  // namespace zorvane
