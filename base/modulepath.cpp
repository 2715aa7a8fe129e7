#include "base/modulepath.h"

// The linker defines this symbol at the start of each module, so each has its own.
extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace zorvane {
namespace {

// The longest path in Windows, with its NUL.
constexpr size_t kLongestPath = 32768;

}  // namespace

HMODULE ThisModule() { return reinterpret_cast<HMODULE>(&__ImageBase); }

std::wstring ModulePath(HMODULE module) {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        // Windows truncates a path that does not fit and returns the size of the buffer.
        const DWORD length =
            GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size() || path.size() >= kLongestPath) {
            path.resize(length);
            return path;
        }
        path.resize(kLongestPath);
    }
}

std::wstring ModuleFolder(HMODULE module) { return FolderOf(ModulePath(module)); }

std::wstring FolderOf(const std::wstring& path) {
    return path.substr(0, path.find_last_of(L"\\/") + 1);
}

std::wstring FullPath(const std::wstring& path) {
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return full.empty() ? path : full;
}

}  // namespace zorvane
