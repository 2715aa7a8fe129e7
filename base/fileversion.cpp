#include "base/fileversion.h"

#include <windows.h>

#include <cstddef>
#include <cstring>
#include <vector>

#include "base/text.h"

namespace zorvane {
namespace {

using Block = std::vector<std::byte>;

// At least `size` bytes at the name; null where there are not so many.
const void* Find(const Block& block, const wchar_t* name, UINT size) {
    void* value = nullptr;
    UINT length = 0;
    return VerQueryValueW(block.data(), name, &value, &length) && length >= size ? value : nullptr;
}

std::string Number(const VS_FIXEDFILEINFO& info) {
    std::string number = std::to_string(HIWORD(info.dwFileVersionMS)) + "." +
                         std::to_string(LOWORD(info.dwFileVersionMS)) + "." +
                         std::to_string(HIWORD(info.dwFileVersionLS));
    const WORD last = LOWORD(info.dwFileVersionLS);
    return last == 0 ? number : number + "." + std::to_string(last);
}

std::string Description(const Block& block) {
    struct Language {
        WORD language;
        WORD codePage;
    };
    const void* first = Find(block, L"\\VarFileInfo\\Translation", sizeof(Language));
    if (!first) {
        return {};
    }
    Language language{};
    std::memcpy(&language, first, sizeof(language));
    wchar_t name[64] = {};
    wsprintfW(name, L"\\StringFileInfo\\%04x%04x\\FileDescription", language.language,
              language.codePage);
    void* text = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(block.data(), name, &text, &length) || length == 0) {
        return {};
    }
    const auto* characters = static_cast<const wchar_t*>(text);
    return ToUtf8(std::wstring(characters, wcsnlen(characters, length)));
}

}  // namespace

std::optional<FileVersion> ReadFileVersion(const std::wstring& path) {
    const DWORD size = GetFileVersionInfoSizeW(path.c_str(), nullptr);
    Block block(size);
    if (size == 0 || !GetFileVersionInfoW(path.c_str(), 0, size, block.data())) {
        return std::nullopt;
    }
    const void* info = Find(block, L"\\", sizeof(VS_FIXEDFILEINFO));
    if (!info) {
        return std::nullopt;
    }
    return FileVersion{Number(*static_cast<const VS_FIXEDFILEINFO*>(info)), Description(block)};
}

}  // namespace zorvane
