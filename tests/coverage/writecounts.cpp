extern "C" {
#include <gcov.h>
}

// A DLL has counts of its own, and only it can write them.
extern "C" __declspec(dllexport) void WriteCoverageCounts();

extern "C" void WriteCoverageCounts() { __gcov_dump(); }
