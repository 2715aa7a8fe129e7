/* A library in NVML's place that needs another one and has none of NVML's functions. */
#include <windows.h>

__declspec(dllimport) int Planted(void);

__declspec(dllexport) int NeedsPlanted(void) { return Planted(); }
