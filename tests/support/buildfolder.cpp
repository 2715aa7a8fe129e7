#include "tests/support/buildfolder.h"

#include <windows.h>

#include <filesystem>
#include <vector>

std::wstring BuildFolder(const std::wstring& name) {
    std::vector<wchar_t> program(32768);
    GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    return (std::filesystem::path(program.data()).parent_path().parent_path() / name).wstring();
}
