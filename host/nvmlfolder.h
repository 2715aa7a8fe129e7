/** The folder of NVIDIA's library. */
#pragma once

/**
 * Adds NVML's folder to the search for libraries. The worker library loads NVML by its full path,
 * but that does not make Windows look for NVML's own imports in its folder.
 */
void AddNvmlFolder();
