#include "client/loadedlibrary.h"

// After windows.h, which it needs.
#include <psapi.h>

#include <vector>

#include "base/modulepath.h"

namespace zorvane {
namespace {

// The longest path in Windows, with its NUL.
constexpr size_t kLongestPath = 32768;

std::vector<HMODULE> ModulesOf(HANDLE process) {
    std::vector<HMODULE> modules(256);
    for (;;) {
        const auto size = static_cast<DWORD>(modules.size() * sizeof(HMODULE));
        DWORD needed = 0;
        if (!K32EnumProcessModules(process, modules.data(), size, &needed)) {
            return {};
        }
        const bool isAll = needed <= size;
        modules.resize(needed / sizeof(HMODULE));
        if (isAll) {
            return modules;
        }
    }
}

}  // namespace

std::wstring FindLoadedLibrary(HANDLE process, const std::wstring& fileName) {
    std::wstring buffer(kLongestPath, L'\0');
    for (const HMODULE module : ModulesOf(process)) {
        const DWORD length = K32GetModuleFileNameExW(process, module, buffer.data(),
                                                     static_cast<DWORD>(buffer.size()));
        std::wstring path = buffer.substr(0, length);
        if (_wcsicmp(path.substr(FolderOf(path).size()).c_str(), fileName.c_str()) == 0) {
            return path;
        }
    }
    return {};
}

}  // namespace zorvane
