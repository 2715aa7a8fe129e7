/** Running a worker from start to end. */
#pragma once

#include "host/hostwords.h"
#include "host/workerlibrary.h"

/**
 * Calls the library's export on this thread, and returns when the worker has ended and what it left
 * behind has been removed. Call it once, right before the process ends. If the stub goes and the
 * worker does not end in time, the process is ended by force and this does not return.
 */
void RunWorker(const CWorkerLibrary& library, const HostWords& words);
