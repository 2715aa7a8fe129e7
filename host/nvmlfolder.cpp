#include "host/nvmlfolder.h"

#include <windows.h>

#include "base/environment.h"

void AddNvmlFolder() {
    const std::wstring programs = zorvane::EnvironmentVariable(L"ProgramW6432");
    if (!programs.empty()) {
        AddDllDirectory((programs + L"\\NVIDIA Corporation\\NVSMI").c_str());
    }
}
