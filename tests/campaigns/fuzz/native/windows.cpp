#include <windows.h>

void Sleep(DWORD) {}

ULONGLONG GetTickCount64() { return 0; }

void GetSystemTimeAsFileTime(FILETIME* time) { *time = {}; }

BOOL FileTimeToSystemTime(const FILETIME*, SYSTEMTIME*) { return FALSE; }

BOOL SystemTimeToTzSpecificLocalTime(const void*, const SYSTEMTIME*, SYSTEMTIME*) { return FALSE; }
