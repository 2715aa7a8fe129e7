#include "host/nvmlfolder.h"

#include <windows.h>

#include "base/environment.h"

namespace {

std::wstring NvmlFolder() {
    const std::wstring programs = zorvane::EnvironmentVariable(kProgramsVariable);
    return programs.empty() ? programs : programs + kNvmlFolder;
}

}  // namespace

std::wstring NvmlPath() {
    const std::wstring folder = NvmlFolder();
    return folder.empty() ? folder : folder + kNvmlFile;
}

void AddNvmlFolder() {
    const std::wstring folder = NvmlFolder();
    if (!folder.empty()) {
        AddDllDirectory(folder.c_str());
    }
}
