/**
 * A stub in C on zorvaneclient.dll: prints ten readings and ends the worker.
 *
 *   kit_stub [PATH-OF-zorvanehost.exe [WORDS, one a line]]
 *
 * Without a path the DLL takes the host beside itself.
 */
#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>
#include <windows.h>

#include "zorvane/client.h"

enum { kWanted = 10 };

/** UTF-8 of a word of the command line; the caller frees it. Null for null. */
static char* Utf8(const wchar_t* text) {
    const int size = text ? WideCharToMultiByte(CP_UTF8, 0, text, -1, NULL, 0, NULL, NULL) : 0;
    char* utf8 = size > 0 ? malloc((size_t)size) : NULL;
    if (utf8) {
        WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8, size, NULL, NULL);
    }
    return utf8;
}

/** Prints a number; nothing where there is none. */
static void PrintNumber(const char* name, const ZorvaneNumber* number, const char* unit) {
    if (number->valid) {
        printf("  %s%lld %s", name, (long long)number->value, unit);
    }
}

static void PrintGpu(const ZorvaneGpu* gpu) {
    printf("%s  %s", gpu->busId.text, gpu->name.text);
    PrintNumber("GPU ", &gpu->gpuUtilizationPercent, "%");
    PrintNumber("", &gpu->temperatureCelsius, "C");
    PrintNumber("fan ", &gpu->fanSpeedPercent, "%");
    printf("\n");
}

static int IsReading(const ZorvaneEvent* event) {
    return event->type == kZorvaneEventGpu || event->type == kZorvaneEventCpu;
}

static void Print(const ZorvaneEvent* event) {
    if (event->type == kZorvaneEventGpu) {
        PrintGpu(&event->gpu);
    } else if (event->type == kZorvaneEventCpu) {
        printf("CPU  %lld C\n", (long long)event->cpuTemperatureCelsius.value);
    } else {
        /* Texts are sentences for people; programs look at type, id and the numbers. */
        fprintf(stderr, "%s  %s  %s\n", zorvane_event_name(event->type), event->text.text,
                event->remedy.text);
    }
}

/** Runs one worker to its end; the number of readings. */
static int Run(ZorvaneSession session) {
    ZorvaneEvent event = {.size = sizeof(event)};
    int readings = 0;
    zorvane_start(session);
    while (zorvane_next_event(session, &event, ZORVANE_NO_LIMIT) == kZorvaneOk &&
           event.type != kZorvaneEventEnd) {
        if (IsReading(&event) && readings == kWanted) {
            continue; /* it came before the worker was stopped */
        }
        Print(&event);
        fflush(stdout);
        if (IsReading(&event) && ++readings == kWanted) {
            zorvane_stop(session);
        }
    }
    return readings;
}

int wmain(int argc, wchar_t** argv) {
    SetConsoleOutputCP(CP_UTF8);
    char* host = Utf8(argc > 1 ? argv[1] : NULL);
    char* words = Utf8(argc > 2 ? argv[2] : NULL);
    const ZorvaneOptions options = {
        .size = sizeof(options), .host = host, .words = words, .entry = "kit_stub in C"};
    ZorvaneError error = {.size = sizeof(error)};
    ZorvaneSession session = 0;
    int readings = 0;
    if (zorvane_open(&options, &session, &error) == kZorvaneOk) {
        readings = Run(session);
        zorvane_close(session);
    } else {
        fprintf(stderr, "%s: %s\n", error.call.text, error.text.text);
    }
    free(host);
    free(words);
    return readings > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
