#include "host/standin.h"

#include <windows.h>

#include "base/modulepath.h"
#include "base/systemfolder.h"

namespace {

// The stand-in alone exports it.
constexpr char kMark[] = "ZorvanePlatformStandIn";

bool IsThere(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool HasPlatform(const std::wstring& libraryFolder) {
    return IsThere(libraryFolder + kPlatformFile) ||
           IsThere(zorvane::ModuleFolder(nullptr) + kPlatformFile) ||
           IsThere(zorvane::SystemFolder() + kPlatformFile);
}

std::wstring StandInPath() { return zorvane::ModuleFolder(nullptr) + kStandInFile; }

}  // namespace

void LoadStandInIfNeeded(const std::wstring& libraryFolder) {
    if (!HasPlatform(libraryFolder)) {
        // Windows resolves an import to a loaded library of that name before it looks for a file.
        LoadLibraryExW(StandInPath().c_str(), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    }
}

std::wstring StandInHint(const std::wstring& libraryFolder) {
    return HasPlatform(libraryFolder) ? L"; without that file the stand-in would take its place"
                                      : L"; nor is there a stand-in, " + StandInPath();
}

bool IsStandInLoaded() {
    const HMODULE platform = GetModuleHandleW(kPlatformFile);
    return platform && GetProcAddress(platform, kMark);
}
