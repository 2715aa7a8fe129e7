#include "host/systemnvml.h"

#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "base/callerror.h"
#include "base/handle.h"
#include "base/systemfolder.h"
#include "base/text.h"
#include "host/junction.h"
#include "host/nvmlfolder.h"
#include "host/runfolder.h"

namespace {

constexpr wchar_t kSystemFile[] = L"nvml.dll";

bool IsThere(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::wstring Text(const zorvane::CallError& error) {
    return zorvane::ToWide(zorvane::Describe(error));
}

std::optional<BY_HANDLE_FILE_INFORMATION> Identify(const std::wstring& path) {
    const zorvane::CUniqueHandle file = zorvane::OwnFile(CreateFileW(
        path.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    BY_HANDLE_FILE_INFORMATION information{};
    if (!file || !GetFileInformationByHandle(file.get(), &information)) {
        return std::nullopt;
    }
    return information;
}

bool IsSameFile(const std::wstring& path, const std::wstring& other) {
    const auto first = Identify(path);
    const auto second = Identify(other);
    return first && second && first->dwVolumeSerialNumber == second->dwVolumeSerialNumber &&
           first->nFileIndexHigh == second->nFileIndexHigh &&
           first->nFileIndexLow == second->nFileIndexLow;
}

bool HasSameContent(const std::wstring& path, const std::wstring& other) {
    using Bytes = std::istreambuf_iterator<char>;
    std::ifstream first(std::filesystem::path(path), std::ios::binary);
    std::ifstream second(std::filesystem::path(other), std::ios::binary);
    return first && second && std::equal(Bytes(first), Bytes(), Bytes(second), Bytes());
}

std::wstring Copy(const std::wstring& from, const std::wstring& to) {
    if (!CopyFileW(from.c_str(), to.c_str(), TRUE)) {
        return Text(zorvane::LastCallError("CopyFileW"));
    }
    return HasSameContent(from, to) ? L"" : L"the copy differs from its original";
}

}  // namespace

std::wstring LeadToSystemNvml(const std::wstring& folder, const std::wstring& systemFolder) {
    const std::wstring nvsmi = folder + kNvmlFolder;
    const std::wstring path = nvsmi + kNvmlFile;
    // The library's buffer.
    if (path.size() >= MAX_PATH) {
        return path + L" is too long a path";
    }
    const std::wstring company = nvsmi.substr(0, nvsmi.rfind(L'\\'));
    if (!CreateDirectoryW(company.c_str(), nullptr) || !CreateDirectoryW(nvsmi.c_str(), nullptr)) {
        return Text(zorvane::LastCallError("CreateDirectoryW"));
    }
    const std::wstring original = systemFolder + kSystemFile;
    if (!MakeJunction(nvsmi, systemFolder.substr(0, systemFolder.size() - 1)) &&
        IsSameFile(path, original)) {
        return L"";
    }
    RemoveDirectoryW(nvsmi.c_str());
    if (!CreateDirectoryW(nvsmi.c_str(), nullptr)) {
        return Text(zorvane::LastCallError("CreateDirectoryW"));
    }
    return Copy(original, path);
}

void RemoveNvmlFolder(const std::wstring& folder) {
    const std::wstring nvsmi = folder + kNvmlFolder;
    const DWORD attributes = GetFileAttributesW(nvsmi.c_str());
    // Through a junction this would be the system's own file.
    if (attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_REPARSE_POINT)) {
        DeleteFileW((nvsmi + kNvmlFile).c_str());
    }
    RemoveDirectoryW(nvsmi.c_str());
    RemoveDirectoryW(nvsmi.substr(0, nvsmi.rfind(L'\\')).c_str());
    RemoveDirectoryW(folder.c_str());
}

std::wstring CSystemNvml::Prepare(NvmlChoice choice) {
    const std::wstring systemFolder = zorvane::SystemFolder();
    const std::wstring original = systemFolder + kSystemFile;
    const bool isThere = IsThere(original);
    if (choice == NvmlChoice::kSystem && !isThere) {
        return L"--nvml=system: there is no " + original;
    }
    if (!IsSystemNvmlWanted(choice, {.fixed = IsThere(NvmlPath()), .system = isThere})) {
        return L"";
    }
    const auto owner = IsUserAnAdmin() ? RunFolderOwner::kAdministrators : RunFolderOwner::kUser;
    const std::wstring place = RunFolderPlace(owner);
    if (place.empty()) {
        return original + L" cannot be used: Windows names no folder for the way to it";
    }
    for (const std::wstring& left : LeftRunFolders(place)) {
        RemoveNvmlFolder(left);
    }
    const std::wstring folder = place + L"\\" + RunFolderName(zorvane::OwnIdentity());
    const std::wstring failure = original + L" cannot be used, since " + folder + L" ";
    if (const auto error = MakeRunFolder(folder, owner)) {
        return failure + L"cannot be made: " + Text(*error);
    }
    const std::wstring error = LeadToSystemNvml(folder, systemFolder);
    if (!error.empty()) {
        RemoveNvmlFolder(folder);
        return failure + L"does not lead to it: " + error;
    }
    SetEnvironmentVariableW(kProgramsVariable, folder.c_str());
    m_folder = folder;
    return L"";
}

void CSystemNvml::Remove() const {
    if (IsUsed()) {
        RemoveNvmlFolder(m_folder);
    }
}
