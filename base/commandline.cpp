#include "base/commandline.h"

#include <windows.h>
// After windows.h, which it needs.
#include <shellapi.h>

#include <memory>

namespace zorvane {
namespace {

struct CLocalFreer {
    void operator()(LPWSTR* words) const { LocalFree(words); }
};

}  // namespace

std::wstring QuoteWord(std::wstring_view word) {
    if (!word.empty() && word.find_first_of(L" \t\n\v\"") == std::wstring_view::npos) {
        return std::wstring(word);
    }
    // Backslashes are doubled only where a quotation mark follows, ours at the end included.
    std::wstring quoted = L"\"";
    size_t backslashes = 0;
    for (const wchar_t c : word) {
        if (c == L'"') {
            quoted.append(backslashes + 1, L'\\');
        }
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        quoted += c;
    }
    quoted.append(backslashes, L'\\');
    quoted += L'"';
    return quoted;
}

std::vector<std::wstring> SplitCommandLine(const std::wstring& line) {
    int count = 0;
    const std::unique_ptr<LPWSTR, CLocalFreer> words(CommandLineToArgvW(line.c_str(), &count));
    return {words.get(), words.get() + count};
}

}  // namespace zorvane
