#include "host/nvmlfolder.h"

#include <windows.h>

#include "base/environment.h"

namespace {

std::wstring Folder() {
    const std::wstring programs = zorvane::EnvironmentVariable(kProgramsVariable);
    return programs.empty() ? programs : programs + kNvmlFolder;
}

}  // namespace

std::wstring NvmlPath() {
    const std::wstring folder = Folder();
    return folder.empty() ? folder : folder + kNvmlFile;
}

void AddNvmlFolder() {
    const std::wstring folder = Folder();
    if (!folder.empty()) {
        AddDllDirectory(folder.c_str());
    }
}
