#include "monitor/workerlog/logtrouble.h"

#include "base/callerror.h"
#include "base/handle.h"
#include "base/modulepath.h"
#include "base/text.h"

namespace zorvane {
namespace {

constexpr int kNoSuchFile = 2;
constexpr int kAccessDenied = 13;

// What a debugger shows of such a worker: the table of reasons has that line.
Explanation ExplainOpenError(const std::wstring& path, int error) {
    const std::string line = "open " + ToUtf8(path) + " error. [" + std::to_string(error) + "]\r\n";
    return ExplainLine(kDebuggerSource, line).value_or(Explanation());
}

bool IsFolder(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// As the worker opens it, but for making it.
bool CanAppend(const std::wstring& path) {
    return OwnFile(CreateFileW(path.c_str(), FILE_APPEND_DATA,
                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                               OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)) != nullptr;
}

Explanation Find(const std::wstring& path, const std::optional<DWORD>& readError) {
    if (!IsFolder(FolderOf(path))) {
        return ExplainOpenError(path, kNoSuchFile);
    }
    // A file that does not exist cannot be opened either: the worker could not make it.
    if (IsFolder(path) || !CanAppend(path)) {
        return ExplainOpenError(path, kAccessDenied);
    }
    if (readError) {
        return {.id = "log.unreadable",
                .concern = Concern::kLog,
                .kind = ReasonKind::kInformational,
                .brief = "",
                .text = "The log file cannot be read: " + ToUtf8(DescribeCode(*readError)) + ".",
                .remedy = "Let the user who starts the program read the folder Log."};
    }
    return ExplainLine(kDebuggerSource, "Lock failed\n").value_or(Explanation());
}

}  // namespace

std::wstring LogPathOf(const std::wstring& library) {
    return FolderOf(library) + L"Log\\Qorvella_HardwareDll.log";
}

Explanation ExplainMissingLog(const std::wstring& path, const std::optional<DWORD>& readError) {
    Explanation explanation = Find(path, readError);
    explanation.text += " The file: " + ToUtf8(path) + ".";
    return explanation;
}

Explanation ExplainUnknownLog() {
    return {.id = "log.unknown_place",
            .concern = Concern::kLog,
            .kind = ReasonKind::kInformational,
            .brief = "",
            .text =
                "The worker's process does not show which library it has loaded, so its log "
                "cannot be found.",
            .remedy = "Look for Log\\Qorvella_HardwareDll.log beside the library."};
}

}  // namespace zorvane
