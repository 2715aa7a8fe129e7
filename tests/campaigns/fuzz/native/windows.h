/**
 * What the fuzzed sources and their headers name of Windows' own header. What is fuzzed calls none
 * of the functions; windows.cpp has the few that are linked all the same.
 */
#pragma once

#include <cstddef>
#include <cstdint>

using BOOL = int;
using BOOLEAN = unsigned char;
using BYTE = unsigned char;
using WORD = uint16_t;
using UINT = unsigned;
using DWORD = uint32_t;
using LONG = int32_t;
using ULONG = uint32_t;
using ULONGLONG = uint64_t;
using UINT_PTR = uintptr_t;
using INT_PTR = intptr_t;
using ULONG_PTR = uintptr_t;
using LONG_PTR = intptr_t;
using WPARAM = uintptr_t;
using LPARAM = intptr_t;
using LRESULT = intptr_t;
using ATOM = WORD;
using HANDLE = void*;
using HWND = struct HWND__*;
using HMODULE = struct HINSTANCE__*;
using HINSTANCE = HMODULE;
using HKEY = struct HKEY__*;
using SC_HANDLE = struct SC_HANDLE__*;

struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

struct COPYDATASTRUCT {
    ULONG_PTR dwData;
    DWORD cbData;
    void* lpData;
};

union ULARGE_INTEGER {
    struct {
        DWORD LowPart;
        DWORD HighPart;
    };
    ULONGLONG QuadPart;
};

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

#define CALLBACK
#define WINAPI
#define TRUE 1
#define FALSE 0
#define INVALID_HANDLE_VALUE reinterpret_cast<HANDLE>(intptr_t{-1})

#define INFINITE 0xFFFFFFFFu
#define ERROR_SUCCESS 0
#define ERROR_PROCESS_ABORTED 1067

BOOL CloseHandle(HANDLE handle);
BOOL FreeLibrary(HMODULE module);
void Sleep(DWORD milliseconds);
ULONGLONG GetTickCount64();
void GetSystemTimeAsFileTime(FILETIME* time);
BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* parts);
BOOL SystemTimeToTzSpecificLocalTime(const void* zone, const SYSTEMTIME* utc, SYSTEMTIME* local);
