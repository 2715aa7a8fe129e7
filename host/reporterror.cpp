#include "host/reporterror.h"

#include <windows.h>

#include "base/modulepath.h"
#include "base/text.h"
#include "base/textstream.h"

namespace {

// The file name of this executable without its ".exe": more than one host reports through this.
std::wstring ProgramName() {
    const std::wstring path = zorvane::ModulePath(nullptr);
    const std::wstring name = path.substr(zorvane::FolderOf(path).size());
    return name.substr(0, name.rfind(L'.'));
}

}  // namespace

void ReportError(const std::wstring& message) {
    const std::string line = zorvane::ToUtf8(ProgramName() + L": " + message + L"\r\n");
    // If standard error cannot be written there is nowhere to report that.
    zorvane::WriteText(GetStdHandle(STD_ERROR_HANDLE), line);
}
