/** Running a worker from its first to its last step. */
#pragma once

#include "host/hostwords.h"
#include "host/workerlibrary.h"

/**
 * Enters the library's export on this thread and returns when the worker has ended and what it left
 * behind is gone. Once in a process, right before its end. A worker without its stub is ended by
 * force: then this does not return.
 */
void RunWorker(const CWorkerLibrary& library, const HostWords& words);
