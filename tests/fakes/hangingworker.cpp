// A worker library that hangs: its export never returns, and it has no window to be asked at.
#include <windows.h>

extern "C" __declspec(dllexport) void ZorvaneProcess(wchar_t*) { Sleep(INFINITE); }
