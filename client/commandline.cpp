#include "client/commandline.h"

#include <cstdint>

namespace zorvane {

std::wstring QuoteWord(std::wstring_view word) {
    if (!word.empty() && word.find_first_of(L" \t\n\v\"") == std::wstring_view::npos) {
        return std::wstring(word);
    }
    // Backslashes are doubled only before a quotation mark, including the closing one.
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

std::wstring WindowText(HWND window) {
    return std::to_wstring(static_cast<int32_t>(reinterpret_cast<intptr_t>(window)));
}

std::wstring BuildCommandLine(const WorkerCommand& command, HWND stubWindow,
                              const ProcessIdentity& stub) {
    // The first word follows other rules: it has no escapes, and a path has no quotation marks.
    std::wstring line = L"\"" + command.host + L"\" --wnd=" + WindowText(stubWindow) + L" " +
                        QuoteWord(L"--entry=" + command.entry) + L" --parent=" + IdentityText(stub);
    if (!command.libraryPath.empty()) {
        line += L" " + QuoteWord(L"--library=" + command.libraryPath);
    }
    for (const std::wstring& word : command.words) {
        line += L" " + QuoteWord(word);
    }
    return line;
}

}  // namespace zorvane
