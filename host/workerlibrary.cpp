#include "host/workerlibrary.h"

#include <windows.h>

#include <algorithm>

#include "base/callerror.h"
#include "base/modulepath.h"
#include "base/peimage.h"
#include "base/text.h"
#include "host/standin.h"

namespace {

constexpr char kExportName[] = "ZorvaneProcess";

bool ImportsPlatform(const std::wstring& path) {
    const auto image = zorvane::CPeImage::OfFile(path);
    if (!image.IsValid()) {
        return false;
    }
    const std::vector<std::string> names = image.ImportedLibraries();
    return std::any_of(names.begin(), names.end(), [](const std::string& name) {
        return _wcsicmp(zorvane::ToWide(name).c_str(), kPlatformFile) == 0;
    });
}

// The first library that `path` imports and that cannot be loaded; empty when all can be.
std::wstring FirstBrokenImport(const std::wstring& path, DWORD& error) {
    const auto image = zorvane::CPeImage::OfFile(path);
    if (!image.IsValid()) {
        return {};
    }
    for (const std::string& library : image.ImportedLibraries()) {
        std::wstring name = zorvane::ToWide(library);
        if (!LoadLibraryExW(name.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DEFAULT_DIRS)) {
            error = GetLastError();
            return name;
        }
    }
    return {};
}

}  // namespace

std::wstring CWorkerLibrary::DefaultPath() {
    return zorvane::ModuleFolder(nullptr) + L"Zorvane.dll";
}

HostExit CWorkerLibrary::Load(const std::wstring& path, std::wstring& error) {
    if (path.empty()) {
        error = L"the library has no name: --library wants a path behind its \"=\"";
        return HostExit::kLibraryMissing;
    }
    const std::wstring fullPath = zorvane::FullPath(path);
    if (GetFileAttributesW(fullPath.c_str()) == INVALID_FILE_ATTRIBUTES) {
        const DWORD code = GetLastError();
        error = L"library " + fullPath + L" not found: " + zorvane::DescribeCode(code);
        return HostExit::kLibraryMissing;
    }
    // Never the current folder or PATH: this process may run elevated.
    const std::wstring folder = zorvane::FolderOf(fullPath);
    AddDllDirectory(folder.c_str());
    if (ImportsPlatform(fullPath)) {
        LoadStandInIfNeeded(folder);
    }
    const HMODULE module =
        LoadLibraryExW(fullPath.c_str(), nullptr,
                       LOAD_LIBRARY_SEARCH_DEFAULT_DIRS | LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR);
    if (!module) {
        const DWORD loadError = GetLastError();
        DWORD importError = 0;
        const std::wstring import = FirstBrokenImport(fullPath, importError);
        if (!import.empty()) {
            error = L"library " + fullPath + L" needs " + import + L", which cannot be loaded: " +
                    zorvane::DescribeCode(importError);
            if (import == kPlatformFile) {
                error += StandInHint(folder);
            }
            return HostExit::kDependencyMissing;
        }
        error = L"library " + fullPath + L" cannot be loaded: " + zorvane::DescribeCode(loadError);
        return HostExit::kLibraryUnusable;
    }
    m_module = module;
    const FARPROC entry = GetProcAddress(module, kExportName);
    if (!entry) {
        const DWORD code = GetLastError();
        error = L"library " + fullPath + L" has no export ZorvaneProcess: " +
                zorvane::DescribeCode(code);
        return HostExit::kExportMissing;
    }
    m_entry = reinterpret_cast<void (*)(wchar_t*)>(reinterpret_cast<void*>(entry));
    return HostExit::kOrderlyEnd;
}

void CWorkerLibrary::Run(wchar_t* commandLine) const { m_entry(commandLine); }
