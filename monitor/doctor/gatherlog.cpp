#include <windows.h>
#include <winternl.h>

#include <algorithm>

#include "base/handle.h"
#include "base/modulepath.h"
#include "base/text.h"
#include "monitor/doctor/gather.h"
#include "monitor/doctor/readlog.h"
#include "src/log/logfile.h"

namespace zorvane {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
// A log may have 100 MiB. Its begin tells why the temperature was switched off, its end how the
// last run went.
constexpr LONGLONG kReadAtBegin = 1024LL * 1024;
constexpr LONGLONG kReadAtEnd = 4 * kReadAtBegin;

bool IsFolder(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Opening for it is all that is done: nothing is written.
bool MayAddFiles(const std::wstring& folder) {
    return OwnFile(CreateFileW(folder.c_str(), FILE_ADD_FILE, kShareAll, nullptr, OPEN_EXISTING,
                               FILE_FLAG_BACKUP_SEMANTICS, nullptr)) != nullptr;
}

std::string ReadPart(HANDLE file, LONGLONG from, LONGLONG size) {
    LARGE_INTEGER position{};
    position.QuadPart = from;
    std::string bytes(static_cast<size_t>(size), '\0');
    DWORD read = 0;
    if (!SetFilePointerEx(file, position, nullptr, FILE_BEGIN) ||
        !ReadFile(file, bytes.data(), static_cast<DWORD>(size), &read, nullptr)) {
        return {};
    }
    bytes.resize(read);
    return bytes;
}

std::string ReadBeginAndEnd(HANDLE file) {
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(file, &size)) {
        return {};
    }
    if (size.QuadPart <= kReadAtBegin + kReadAtEnd) {
        return ReadPart(file, 0, size.QuadPart);
    }
    // A line that is cut is none, and left out.
    return ReadPart(file, 0, kReadAtBegin) + "\r\n" +
           ReadPart(file, size.QuadPart - kReadAtEnd, kReadAtEnd);
}

MutexState AskMutex(const std::wstring& logPath) {
    // As a worker that starts does.
    const CUniqueHandle mutex(
        OpenMutexW(MUTEX_ALL_ACCESS, FALSE, ZorLog::LogMutexName(logPath).c_str()));
    if (mutex) {
        return MutexState::kInUse;
    }
    return GetLastError() == ERROR_ACCESS_DENIED ? MutexState::kDenied : MutexState::kFree;
}

// Windows tells who has a file open; Wine does not.
std::vector<uint32_t> ProcessesUsing(HANDLE file) {
    constexpr auto kProcessIds = static_cast<FILE_INFORMATION_CLASS>(47);
    constexpr size_t kMost = 256;
    struct Answer {
        ULONG count;
        ULONG_PTR ids[kMost];
    };
    Answer answer{};
    IO_STATUS_BLOCK status{};
    if (NtQueryInformationFile(file, &status, &answer, sizeof(answer), kProcessIds) < 0) {
        return {};
    }
    std::vector<uint32_t> ids;
    for (size_t i = 0; i < std::min<size_t>(answer.count, kMost); ++i) {
        ids.push_back(static_cast<uint32_t>(answer.ids[i]));
    }
    return ids;
}

void AddWriter(uint32_t id, LogFacts& log) {
    const bool isKnown = std::any_of(log.writers.begin(), log.writers.end(),
                                     [&](const ProcessFacts& writer) { return writer.id == id; });
    if (isKnown || id == GetCurrentProcessId()) {
        return;
    }
    if (auto process = GatherProcess(id)) {
        log.writers.push_back(std::move(*process));
    }
}

// Ids are used again: one in the log counts only if it is a host's.
void AddWritersOf(const std::vector<LogLine>& lines, const std::wstring& hostName, LogFacts& log) {
    for (const ProcessFacts& process : RunningPrograms({hostName})) {
        const std::vector<uint32_t> ids = LogProcesses(lines);
        if (std::find(ids.begin(), ids.end(), process.id) != ids.end()) {
            AddWriter(process.id, log);
        }
    }
}

// The log is in the code page of the programs that write it.
std::string FromAnsi(const std::string& bytes) {
    std::wstring text(bytes.size(), L'\0');
    const int length = MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()),
                                           text.data(), static_cast<int>(text.size()));
    text.resize(static_cast<size_t>(length));
    return OneLine(text);
}

void ReadLog(const std::wstring& path, const std::wstring& hostName, LogFacts& log) {
    const CUniqueHandle file = OwnFile(CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr,
                                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        return;
    }
    for (const uint32_t id : ProcessesUsing(file.get())) {
        AddWriter(id, log);
    }
    const std::vector<LogLine> lines = ParseLog(ReadBeginAndEnd(file.get()));
    AddWritersOf(lines, hostName, log);
    const auto isRunning = [&](uint32_t id) {
        return std::any_of(log.writers.begin(), log.writers.end(),
                           [&](const ProcessFacts& writer) { return writer.id == id; });
    };
    log.lastRun = FindLastRun(lines, isRunning, &FromAnsi);
    log.switchReason = FindSwitchReason(lines);
}

}  // namespace

LogFacts GatherLog(const DoctorTarget& target) {
    const std::wstring path = FolderOf(target.library) + ZorLog::kLogFile;
    const std::wstring folder = path.substr(0, path.find_last_of(L'\\'));
    LogFacts log;
    log.folder = OneLine(folder);
    log.folderExists = IsFolder(folder);
    log.folderWritable = log.folderExists && MayAddFiles(folder);
    log.file = GatherFile(path);
    log.fileIsFolder = IsFolder(path);
    log.keptOn = GetFileAttributesW((path + L".on").c_str()) != INVALID_FILE_ATTRIBUTES;
    log.mutex = AskMutex(path);
    ReadLog(path, FileNameOf(target.host), log);
    return log;
}

}  // namespace zorvane
