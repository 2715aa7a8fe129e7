#include "host/runfolder.h"

#include <windows.h>

#include <sddl.h>
#include <shlobj.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>

#include "base/handle.h"

namespace {

constexpr wchar_t kPrefix[] = L"Zorvane run ";

// Nothing is inherited. The owner is named: an owner may change the rights, and by a policy it
// could be the user, whose other programs are not elevated.
constexpr wchar_t kAdministratorsOnly[] = L"O:BAD:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)";

struct CLocalFreer {
    void operator()(void* memory) const { LocalFree(memory); }
};
struct CTaskMemoryFreer {
    void operator()(void* memory) const { CoTaskMemFree(memory); }
};

std::optional<zorvane::CallError> MakeProtected(const std::wstring& path) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(kAdministratorsOnly, SDDL_REVISION_1,
                                                              &descriptor, nullptr)) {
        return zorvane::LastCallError("ConvertStringSecurityDescriptorToSecurityDescriptorW");
    }
    const std::unique_ptr<void, CLocalFreer> owner(descriptor);
    SECURITY_ATTRIBUTES attributes{sizeof(attributes), descriptor, FALSE};
    if (!CreateDirectoryW(path.c_str(), &attributes)) {
        return zorvane::LastCallError("CreateDirectoryW");
    }
    return std::nullopt;
}

// FAT ignores the descriptor without a word.
bool KeepsAccessRights(const std::wstring& path) {
    const zorvane::CUniqueHandle folder = zorvane::OwnFile(
        CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                    FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    DWORD flags = 0;
    return folder &&
           GetVolumeInformationByHandleW(folder.get(), nullptr, 0, nullptr, nullptr, &flags,
                                         nullptr, 0) &&
           (flags & FILE_PERSISTENT_ACLS) != 0;
}

}  // namespace

std::wstring RunFolderPlace(RunFolderOwner owner) {
    const bool isUser = owner == RunFolderOwner::kUser;
    PWSTR path = nullptr;
    const HRESULT result = SHGetKnownFolderPath(
        isUser ? FOLDERID_LocalAppData : FOLDERID_ProgramFiles, 0, nullptr, &path);
    const std::unique_ptr<wchar_t, CTaskMemoryFreer> freer(path);
    return SUCCEEDED(result) ? path : L"";
}

std::wstring RunFolderName(const zorvane::ProcessIdentity& process) {
    std::wstring identity = zorvane::IdentityText(process);
    std::replace(identity.begin(), identity.end(), L':', L'-');
    return kPrefix + identity;
}

std::optional<zorvane::ProcessIdentity> RunFolderProcess(std::wstring_view name) {
    if (!name.starts_with(kPrefix)) {
        return std::nullopt;
    }
    std::wstring identity(name.substr(std::size(kPrefix) - 1));
    std::replace(identity.begin(), identity.end(), L'-', L':');
    return zorvane::ParseIdentity(identity);
}

std::optional<zorvane::CallError> MakeRunFolder(const std::wstring& path, RunFolderOwner owner) {
    if (owner == RunFolderOwner::kAdministrators) {
        if (auto error = MakeProtected(path)) {
            return error;
        }
        if (!KeepsAccessRights(path)) {
            RemoveDirectoryW(path.c_str());
            return zorvane::CallError{"the volume keeps no access rights", ERROR_NOT_SUPPORTED};
        }
        return std::nullopt;
    }
    if (!CreateDirectoryW(path.c_str(), nullptr)) {
        return zorvane::LastCallError("CreateDirectoryW");
    }
    return std::nullopt;
}

std::vector<std::wstring> LeftRunFolders(const std::wstring& place) {
    std::vector<std::wstring> left;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(place, error), end; !error && entry != end;
         entry.increment(error)) {
        const auto process = RunFolderProcess(entry->path().filename().native());
        if (!process) {
            continue;
        }
        const zorvane::FoundProcess found = zorvane::FindProcess(*process);
        // A process that cannot be opened is another user's, and runs.
        const bool hasEnded =
            !found.error &&
            (!found.handle || WaitForSingleObject(found.handle.get(), 0) == WAIT_OBJECT_0);
        if (hasEnded) {
            left.push_back(entry->path().native());
        }
    }
    return left;
}
