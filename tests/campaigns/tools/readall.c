/*
 * A stub in C on zorvaneclient.dll: takes readings as they come until its worker ends, and prints a
 * line for each.
 *
 *   readall PATH-OF-WORKER
 */
#include <stdio.h>
#include <stdlib.h>

#include "zorvane/client.h"

static void ReadAll(ZorvaneSession session) {
    ZorvaneEvent event = {.size = sizeof(event)};
    zorvane_start(session);
    while (zorvane_next_event(session, &event, ZORVANE_NO_LIMIT) == kZorvaneOk &&
           event.type != kZorvaneEventEnd) {
        if (event.type == kZorvaneEventGpu) {
            puts(event.gpu.busId.text);
            fflush(stdout);
        }
    }
}

int main(int argc, char** argv) {
    const ZorvaneOptions options = {
        .size = sizeof(options), .host = argc > 1 ? argv[1] : NULL, .entry = "readall"};
    ZorvaneError error = {.size = sizeof(error)};
    ZorvaneSession session = 0;
    if (zorvane_open(&options, &session, &error) != kZorvaneOk) {
        fprintf(stderr, "%s: %s\n", error.call.text, error.text.text);
        return EXIT_FAILURE;
    }
    ReadAll(session);
    zorvane_close(session);
    return EXIT_SUCCESS;
}
