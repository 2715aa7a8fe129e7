/** The folder in which the worker library looks for NVIDIA's library. */
#pragma once

#include <string>

/** Below %ProgramW6432%. Drivers since 2018 or so put no file there any more. */
inline constexpr wchar_t kNvmlFolder[] = L"\\NVIDIA Corporation\\NVSMI";

inline constexpr wchar_t kNvmlFile[] = L"\\Nvml.dll";

/** The variable that the worker library expands, and the host may change. */
inline constexpr wchar_t kProgramsVariable[] = L"ProgramW6432";

/** Full path of the file that the worker library will load; empty when the variable is not set. */
std::wstring NvmlPath();

/**
 * Adds NVML's folder to the search for libraries. The worker library loads NVML by its full path,
 * but that does not make Windows look for NVML's own imports in its folder.
 */
void AddNvmlFolder();
