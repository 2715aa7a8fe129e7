#include "tests/unit/library/loadedlibrary.h"

#include <filesystem>
#include <stdexcept>

#include "tests/support/baremachine.h"
#include "tests/support/buildfolder.h"
#include "tests/support/logfile.h"

namespace {

void Copy(const std::wstring& folder, const std::wstring& file, const CTempFolder& to) {
    std::filesystem::copy_file(BuildFolder(folder) + L"\\" + file, to.PathOf(file));
}

HMODULE LoadOrThrow(const std::wstring& path) {
    const HMODULE module = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (!module) {
        throw std::runtime_error("the library cannot be loaded");
    }
    return module;
}

}  // namespace

CLoadedLibrary::CLoadedLibrary(bool withLogFolder) {
    Copy(L"bin", L"Zorvane.dll", m_folder);
    Copy(L"bin\\platform-standin", L"Platform.dll", m_folder);
    if (withLogFolder) {
        std::filesystem::create_directory(m_folder.PathOf(L"Log"));
    }
    m_module = LoadOrThrow(m_folder.PathOf(L"Zorvane.dll"));
    const FARPROC entry = GetProcAddress(m_module, "ZorvaneProcess");
    m_entry = reinterpret_cast<void (*)(wchar_t*)>(reinterpret_cast<void*>(entry));
}

void CLoadedLibrary::Run(std::wstring commandLine) const {
    const CBareMachine machine(m_module);
    m_entry(commandLine.data());
}

std::vector<std::string> CLoadedLibrary::LogLines() const {
    return SplitLines(ReadFileBytes(LogPath()));
}
