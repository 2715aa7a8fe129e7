/** Where NVML is looked for. */
#pragma once

/** The only place; the variable is to be expanded. */
inline constexpr wchar_t kNvmlLocation[] = L"%ProgramW6432%\\NVIDIA Corporation\\NVSMI\\Nvml.dll";
