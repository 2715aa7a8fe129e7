#include "sim/scenario/calllog.h"

#include <windows.h>

#include "base/environment.h"
#include "base/handle.h"
#include "sim/scenario/environment.h"

namespace {

constexpr wchar_t kCallLogVariable[] = L"ZORVANE_SIM_CALL_LOG";
constexpr wchar_t kCallLogMutex[] = L"Local\\ZorvaneSimCallLog";

void Append(const std::wstring& path, const std::string& bytes) {
    const zorvane::CUniqueHandle file =
        zorvane::OwnFile(CreateFileW(path.c_str(), FILE_APPEND_DATA | SYNCHRONIZE,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    if (!file ||
        !WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr)) {
        WriteErrorLine("ZORVANE_SIM_CALL_LOG: the file cannot be written, error " +
                       std::to_string(GetLastError()));
    }
}

}  // namespace

void LogCall(const std::string& line) {
    const std::wstring path = zorvane::EnvironmentVariable(kCallLogVariable);
    if (path.empty()) {
        return;
    }
    const zorvane::CUniqueHandle mutex(CreateMutexW(nullptr, FALSE, kCallLogMutex));
    if (mutex) {
        WaitForSingleObject(mutex.get(), INFINITE);
    }
    Append(path, line + "\n");
    if (mutex) {
        ReleaseMutex(mutex.get());
    }
}
