/**
 * A minimal stub: starts a worker, prints ten readings, ends the worker.
 *
 *   minimal_stub [PATH-OF-zorvanehost.exe [WORDS]]
 *
 * It leaves out what a stub that people use all day wants besides: starting a worker again that has
 * crashed. client/ shows that. A stub that ends at any point, also by Ctrl+C or by force, leaves
 * its worker to end in order: that is what --parent is for.
 */
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>
#include <windows.h>

#include "zorvane/wire.h"

enum {
    kWanted = 10,
    /** A worker reports every second; one that is silent for so long hangs. */
    kSilenceMs = 30000,
    kStopGraceMs = 5000,
    kWindowGraceMs = 10000,
    kEndGraceMs = 5000
};

/** Posted by the window to itself: lParam is a Reading, owned by the message. */
#define MESSAGE_READING WM_APP

typedef struct Reading {
    ULONG_PTR code;
    DWORD size;
    union {
        HelloPayload hello;
        NvmlGpuRecord gpu;
        char text[64];
    } payload;
} Reading;

static HWND s_worker;
static int s_printed;

/** A copy of what came; null if it is too large to be anything known. */
static Reading* Copy(const COPYDATASTRUCT* data) {
    Reading* reading = calloc(1, sizeof(Reading));
    if (reading == NULL || data->cbData > sizeof(reading->payload)) {
        free(reading);
        return NULL;
    }
    reading->code = data->dwData;
    reading->size = data->cbData;
    if (data->cbData > 0) {
        memcpy(&reading->payload, data->lpData, data->cbData);
    }
    return reading;
}

/** Prints at most 31 characters as UTF-8, in a column of 31. */
static void PrintName(const wchar_t* name) {
    char text[3 * kWireTextLength] = {0};
    WideCharToMultiByte(CP_UTF8, 0, name, -1, text, sizeof(text) - 1, NULL, NULL);
    printf("%s%*s", text, kWireTextLength - 1 - (int)wcslen(name), "");
}

static void PrintGpu(NvmlGpuRecord* gpu) {
    if (gpu->kind != kGpuRecordDynamic) {
        return;
    }
    gpu->name[kWireTextLength - 1] = L'\0';
    gpu->pciBusId[kWireTextLength - 1] = '\0';
    printf("%s  ", gpu->pciBusId);
    PrintName(gpu->name);
    printf("  GPU %3u %%  ", gpu->gpuUtilizationPercent);
    /* A value that could not be read has a default that is no honest reading. */
    if (gpu->temperatureCelsius != 0) {
        printf("%u C  ", gpu->temperatureCelsius);
    }
    if (gpu->fanSpeedPercent != ZORVANE_FAN_SPEED_UNKNOWN) {
        printf("fan %u %%", gpu->fanSpeedPercent);
    }
    printf("\n");
    ++s_printed;
}

/** Looks at a reading; every size is checked before a byte is read. */
static void Print(Reading* reading) {
    if (reading->code == kCopyDataHello && reading->size == sizeof(HelloPayload)) {
        s_worker = (HWND)(ULONG_PTR)reading->payload.hello.hostWnd;
    } else if (s_printed == kWanted) {
        return; /* it came before the worker had ended */
    } else if (reading->code == kCopyDataTaskData && reading->size == sizeof(NvmlGpuRecord)) {
        PrintGpu(&reading->payload.gpu);
    } else if (reading->code == kCopyDataStop && reading->size > 0 &&
               reading->size <= sizeof(reading->payload.text) &&
               reading->payload.text[reading->size - 1] == '\0') {
        printf("%s\n", reading->payload.text);
        ++s_printed;
    } else {
        fprintf(stderr, "skipped: code %llu with %lu bytes\n", reading->code, reading->size);
    }
    fflush(stdout);
}

static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_COPYDATA) {
        /* The worker waits: copy, answer, and look at it later. */
        Reading* reading = Copy((const COPYDATASTRUCT*)lParam);
        ReplyMessage(TRUE);
        if (reading != NULL && !PostMessageW(window, MESSAGE_READING, 0, (LPARAM)reading)) {
            free(reading);
        }
        // NOLINTNEXTLINE(clang-analyzer-unix.Malloc): the posted message owns the reading.
        return TRUE;
    }
    if (message == MESSAGE_READING) {
        Print((Reading*)lParam);
        free((Reading*)lParam);
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

static HWND MakeStubWindow(void) {
    WNDCLASSEXW description = {.cbSize = sizeof(description),
                               .lpfnWndProc = OnMessage,
                               .hInstance = GetModuleHandleW(NULL),
                               .lpszClassName = L"MinimalStub"};
    if (RegisterClassExW(&description) == 0) {
        return NULL;
    }
    return CreateWindowExW(0, description.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, NULL,
                           description.hInstance, NULL);
}

/** The host beside this program; the caller frees it. Null when there is no memory. */
static wchar_t* DefaultHost(void) {
    enum { kLongestPath = 32768 };
    wchar_t* path = calloc(kLongestPath, sizeof(wchar_t));
    if (path != NULL) {
        const DWORD length = GetModuleFileNameW(NULL, path, kLongestPath);
        wchar_t* name = wcsrchr(path, L'\\');
        name = name != NULL ? name + 1 : path;
        if (length < kLongestPath - 32) {
            wcscpy(name, L"zorvanehost.exe");
        }
    }
    return path;
}

/** The creation time of this process, which with its id names it for good. */
static ULONGLONG CreationTime(void) {
    FILETIME created = {0};
    FILETIME unused;
    GetProcessTimes(GetCurrentProcess(), &created, &unused, &unused, &unused);
    return (ULONGLONG)created.dwHighDateTime << 32 | created.dwLowDateTime;
}

/** Starts the host; null if that fails. The caller closes the handle. */
static HANDLE StartWorker(const wchar_t* host, const wchar_t* words, HWND stub) {
    const size_t size = wcslen(host) + wcslen(words) + 128;
    wchar_t* line = calloc(size, sizeof(wchar_t));
    if (line == NULL) {
        return NULL;
    }
    swprintf(line, size, L"\"%ls\" --wnd=%d --entry=minimal --parent=%lu:%llu %ls", host,
             (int)(INT_PTR)stub, GetCurrentProcessId(), CreationTime(), words);
    STARTUPINFOW startup = {.cb = sizeof(startup)};
    PROCESS_INFORMATION process = {0};
    /* The host is a console program: a stub without a console would see it open one. */
    const DWORD console = GetConsoleCP() == 0 ? CREATE_NO_WINDOW : 0;
    if (!CreateProcessW(host, line, NULL, NULL, FALSE, CREATE_NEW_PROCESS_GROUP | console, NULL,
                        NULL, &startup, &process)) {
        fprintf(stderr, "the host cannot be started: error %lu\n", GetLastError());
    } else {
        CloseHandle(process.hThread);
    }
    free(line);
    return process.hProcess;
}

typedef enum PumpEnd { kWorkerEnded, kEnoughPrinted, kTimeOver } PumpEnd;

/** Pumps messages until the worker has ended, `wanted` readings are printed, or time is over. */
static PumpEnd Pump(HANDLE worker, DWORD timeMs, int wanted) {
    const ULONGLONG end = GetTickCount64() + timeMs;
    while (s_printed < wanted) {
        const ULONGLONG now = GetTickCount64();
        const DWORD woken = MsgWaitForMultipleObjectsEx(
            1, &worker, now < end ? (DWORD)(end - now) : 0, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        MSG message;
        while (PeekMessageW(&message, NULL, 0, 0, PM_REMOVE)) {
            DispatchMessageW(&message);
        }
        if (woken == WAIT_OBJECT_0) {
            return kWorkerEnded;
        }
        if (GetTickCount64() >= end) {
            return kTimeOver;
        }
    }
    return kEnoughPrinted;
}

/** Prints readings until there are enough; false when the worker has ended before. */
static BOOL PrintReadings(HANDLE worker) {
    PumpEnd end = kEnoughPrinted;
    while (end == kEnoughPrinted && s_printed < kWanted) {
        end = Pump(worker, kSilenceMs, s_printed + 1);
    }
    if (end == kTimeOver) {
        fprintf(stderr, "the worker has been silent for %d s\n", kSilenceMs / 1000);
    }
    return end != kWorkerEnded;
}

/**
 * Asks the worker to end, then takes its window away, then ends it by force. Force comes last: a
 * worker that is killed leaves AMD's driver service installed.
 */
static void Stop(HANDLE worker, HWND stub) {
    COPYDATASTRUCT stop = {.dwData = kCopyDataStop};
    SendMessageTimeoutW(s_worker, WM_COPYDATA, (WPARAM)stub, (LPARAM)&stop, SMTO_NORMAL, 1000,
                        NULL);
    if (Pump(worker, kStopGraceMs, INT_MAX) == kWorkerEnded) {
        return;
    }
    DestroyWindow(stub);
    if (Pump(worker, kWindowGraceMs, INT_MAX) != kWorkerEnded) {
        TerminateProcess(worker, ERROR_PROCESS_ABORTED);
    }
}

/** Runs one worker to its end; true when readings came and the worker ended in order. */
static BOOL RunWorker(const wchar_t* host, const wchar_t* words, HWND stub) {
    const HANDLE worker = StartWorker(host, words, stub);
    if (worker == NULL) {
        return FALSE;
    }
    if (PrintReadings(worker)) {
        Stop(worker, stub);
    }
    /* A process that hangs inside a driver cannot even be ended by force. */
    DWORD code = STILL_ACTIVE;
    if (WaitForSingleObject(worker, kEndGraceMs) == WAIT_OBJECT_0) {
        GetExitCodeProcess(worker, &code);
        fprintf(stderr, "the worker ended with %lu\n", code);
    } else {
        fprintf(stderr, "the worker does not end\n");
    }
    CloseHandle(worker);
    if (s_printed == 0) {
        fprintf(stderr,
                "nothing could be read; Log\\Qorvella_HardwareDll.log beside Zorvane.dll "
                "says why\n");
    }
    return s_printed > 0 && code == 0;
}

int wmain(int argc, wchar_t** argv) {
    SetConsoleOutputCP(CP_UTF8);
    const HWND stub = MakeStubWindow();
    wchar_t* host = argc > 1 ? _wcsdup(argv[1]) : DefaultHost();
    if (stub == NULL || host == NULL) {
        fprintf(stderr, "no window or no memory\n");
        free(host);
        return EXIT_FAILURE;
    }
    const BOOL ok = RunWorker(host, argc > 2 ? argv[2] : L"", stub);
    free(host);
    return ok ? EXIT_SUCCESS : EXIT_FAILURE;
}
