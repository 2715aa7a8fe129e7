#include "base/cpuswitch.h"

#include <array>

#include "base/handle.h"

namespace zorvane {
namespace {

constexpr wchar_t kFile[] = L"Qorvella.set";
constexpr wchar_t kSection[] = L"cpu_kernel";
constexpr wchar_t kKey[] = L"sdk_flag";

}  // namespace

CCpuSwitch::CCpuSwitch(const std::wstring& hostFolder) : m_path(hostFolder + kFile) {}

bool CCpuSwitch::IsOn() const {
    return GetPrivateProfileIntW(kSection, kKey, 1, m_path.c_str()) != 0;
}

std::optional<std::wstring> CCpuSwitch::Value() const {
    // No value of a file holds a line end.
    constexpr wchar_t kNone[] = L"\n";
    std::array<wchar_t, 256> text{};
    GetPrivateProfileStringW(kSection, kKey, kNone, text.data(), static_cast<DWORD>(text.size()),
                             m_path.c_str());
    const std::wstring value = text.data();
    return value == kNone ? std::nullopt : std::optional(value);
}

std::optional<CallError> CCpuSwitch::Set(const std::optional<std::wstring>& value) const {
    // Wine's profile functions report success for a file that they could not write.
    const CUniqueHandle file = OwnFile(CreateFileW(
        m_path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file && GetLastError() != ERROR_FILE_NOT_FOUND) {
        return LastCallError("CreateFileW");
    }
    if (!WritePrivateProfileStringW(kSection, kKey, value ? value->c_str() : nullptr,
                                    m_path.c_str())) {
        return LastCallError("WritePrivateProfileStringW");
    }
    return std::nullopt;
}

bool CCpuSwitch::HasSection() const {
    // The names lie behind each other, each with its NUL.
    std::array<wchar_t, 4096> names{};
    GetPrivateProfileSectionNamesW(names.data(), static_cast<DWORD>(names.size()), m_path.c_str());
    for (const wchar_t* name = names.data(); *name != L'\0'; name += wcslen(name) + 1) {
        if (_wcsicmp(name, kSection) == 0) {
            return true;
        }
    }
    return false;
}

void CCpuSwitch::RemoveEmptySection() const {
    std::array<wchar_t, 16> keys{};
    if (GetPrivateProfileSectionW(kSection, keys.data(), static_cast<DWORD>(keys.size()),
                                  m_path.c_str()) == 0) {
        WritePrivateProfileStringW(kSection, nullptr, nullptr, m_path.c_str());
    }
}

}  // namespace zorvane
