#include "tests/support/buildfolder.h"

#include <filesystem>

#include "base/modulepath.h"

std::wstring BuildFolder(const std::wstring& name) {
    const std::filesystem::path program = zorvane::ModulePath(nullptr);
    return (program.parent_path().parent_path() / name).wstring();
}
