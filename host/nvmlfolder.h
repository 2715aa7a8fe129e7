/** The folder of NVIDIA's library. */
#pragma once

/**
 * Lets libraries that NVML needs be found beside it. The worker library loads it by its full path,
 * which by itself says nothing of where its own imports lie.
 */
void AddNvmlFolder();
