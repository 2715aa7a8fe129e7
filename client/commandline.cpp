#include "client/commandline.h"

#include <cstdint>

#include "base/commandline.h"
#include "base/modulepath.h"

namespace zorvane {

std::wstring ExpectedLibrary(const WorkerCommand& command) {
    return command.libraryPath.empty() ? FolderOf(command.host) + L"Zorvane.dll"
                                       : command.libraryPath;
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
