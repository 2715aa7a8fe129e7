/* A library that somebody has put where it does not belong: it leaves a trace when it is loaded. */
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* reserved) {
    (void)module;
    (void)reserved;
    wchar_t path[MAX_PATH];
    if (reason == DLL_PROCESS_ATTACH && GetEnvironmentVariableW(L"PLANTED_TRACE", path, MAX_PATH)) {
        CloseHandle(CreateFileW(path, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, 0, NULL));
    }
    return TRUE;
}

__declspec(dllexport) int Planted(void) { return 1; }
