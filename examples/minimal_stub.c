/**
 * A minimal stub: starts a worker, prints ten readings, ends the worker.
 *
 *   minimal_stub [zorvanehost.exe [WORDS]]
 *
 * It leaves out what a stub that people use all day wants besides: starting a worker again that has
 * crashed, and a job so that the worker never outlives the stub. client/ shows both.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include "zorvane/wire.h"

enum { kWanted = 10, kStopGraceMs = 5000, kWindowGraceMs = 10000 };

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

static void PrintGpu(NvmlGpuRecord* gpu) {
    if (gpu->kind != kGpuRecordDynamic) {
        return;
    }
    gpu->name[kWireTextLength - 1] = L'\0';
    gpu->pciBusId[kWireTextLength - 1] = '\0';
    printf("%s  %-31ls  GPU %3u %%  ", gpu->pciBusId, gpu->name, gpu->gpuUtilizationPercent);
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

/** Starts the host; null if that fails. The caller closes the handle. */
static HANDLE StartWorker(const char* host, const char* words, HWND stub) {
    char line[2048];
    const int length = snprintf(line, sizeof(line), "\"%s\" --wnd=%d --entry=minimal %s", host,
                                (int)(INT_PTR)stub, words);
    if (length < 0 || (size_t)length >= sizeof(line)) {
        return NULL;
    }
    STARTUPINFOA startup = {.cb = sizeof(startup)};
    PROCESS_INFORMATION process;
    if (!CreateProcessA(host, line, NULL, NULL, FALSE, CREATE_NEW_PROCESS_GROUP, NULL, NULL,
                        &startup, &process)) {
        fprintf(stderr, "CreateProcess %s: error %lu\n", host, GetLastError());
        return NULL;
    }
    CloseHandle(process.hThread);
    return process.hProcess;
}

/** Pumps messages until the worker has ended (1), enough is printed, or the time is over (0). */
static int Pump(HANDLE worker, DWORD graceMs, int wanted) {
    const ULONGLONG end = GetTickCount64() + graceMs;
    while (s_printed < wanted) {
        const ULONGLONG now = GetTickCount64();
        const DWORD left = graceMs == INFINITE ? INFINITE : now < end ? (DWORD)(end - now) : 0;
        const DWORD woken =
            MsgWaitForMultipleObjectsEx(1, &worker, left, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        MSG message;
        while (PeekMessageW(&message, NULL, 0, 0, PM_REMOVE)) {
            DispatchMessageW(&message);
        }
        if (woken == WAIT_OBJECT_0) {
            return 1;
        }
        if (woken == WAIT_TIMEOUT) {
            return 0;
        }
    }
    return 0;
}

/** Asks the worker to end, then takes its window away, then ends it by force. */
static void Stop(HANDLE worker, HWND stub) {
    COPYDATASTRUCT stop = {.dwData = kCopyDataStop};
    SendMessageTimeoutW(s_worker, WM_COPYDATA, (WPARAM)stub, (LPARAM)&stop, SMTO_NORMAL, 1000,
                        NULL);
    if (Pump(worker, kStopGraceMs, INT_MAX)) {
        return;
    }
    DestroyWindow(stub);
    if (!Pump(worker, kWindowGraceMs, INT_MAX)) {
        TerminateProcess(worker, ERROR_PROCESS_ABORTED);
    }
}

int main(int argc, char** argv) {
    const HWND stub = MakeStubWindow();
    if (stub == NULL) {
        return EXIT_FAILURE;
    }
    const char* host = argc > 1 ? argv[1] : "zorvanehost.exe";
    const HANDLE worker = StartWorker(host, argc > 2 ? argv[2] : "", stub);
    if (worker == NULL) {
        return EXIT_FAILURE;
    }
    if (!Pump(worker, INFINITE, kWanted)) {
        Stop(worker, stub);
    }
    DWORD code = 0;
    WaitForSingleObject(worker, INFINITE);
    GetExitCodeProcess(worker, &code);
    CloseHandle(worker);
    printf("the worker ended with %lu\n", code);
    return code == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
