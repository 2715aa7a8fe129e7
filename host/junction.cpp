#include "host/junction.h"

#include <windows.h>

#include <winioctl.h>

#include <cstddef>
#include <cstring>
#include <vector>

#include "base/handle.h"

namespace {

// REPARSE_DATA_BUFFER of a mount point, which only the driver kit declares. Behind it come the two
// names, each with its NUL. Lengths and offsets are in bytes.
struct MountPoint {
    DWORD tag;
    WORD dataLength;
    WORD reserved;
    WORD targetOffset;
    WORD targetLength;
    WORD shownOffset;
    WORD shownLength;
};
static_assert(sizeof(MountPoint) == 16);

// What dataLength does not count.
constexpr size_t kHeaderSize = offsetof(MountPoint, targetOffset);

std::vector<std::byte> MountPointTo(const std::wstring& target) {
    const std::wstring names = L"\\??\\" + target + L'\0' + target + L'\0';
    const size_t shownLength = target.size() * sizeof(wchar_t);
    const size_t targetLength = shownLength + 4 * sizeof(wchar_t);
    const size_t namesSize = names.size() * sizeof(wchar_t);
    const MountPoint head{
        .tag = IO_REPARSE_TAG_MOUNT_POINT,
        .dataLength = static_cast<WORD>(sizeof(MountPoint) - kHeaderSize + namesSize),
        .reserved = 0,
        .targetOffset = 0,
        .targetLength = static_cast<WORD>(targetLength),
        .shownOffset = static_cast<WORD>(targetLength + sizeof(wchar_t)),
        .shownLength = static_cast<WORD>(shownLength)};
    std::vector<std::byte> bytes(sizeof(head) + namesSize);
    std::memcpy(bytes.data(), &head, sizeof(head));
    std::memcpy(bytes.data() + sizeof(head), names.data(), namesSize);
    return bytes;
}

}  // namespace

std::optional<zorvane::CallError> MakeJunction(const std::wstring& folder,
                                               const std::wstring& target) {
    if (target.size() > MAX_PATH) {
        return zorvane::CallError{"MakeJunction", ERROR_FILENAME_EXCED_RANGE};
    }
    const zorvane::CUniqueHandle handle = zorvane::OwnFile(CreateFileW(
        folder.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
        FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!handle) {
        return zorvane::LastCallError("CreateFileW");
    }
    std::vector<std::byte> bytes = MountPointTo(target);
    DWORD written = 0;
    if (!DeviceIoControl(handle.get(), FSCTL_SET_REPARSE_POINT, bytes.data(),
                         static_cast<DWORD>(bytes.size()), nullptr, 0, &written, nullptr)) {
        return zorvane::LastCallError("DeviceIoControl");
    }
    return std::nullopt;
}
