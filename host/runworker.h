/** Running a worker from start to end. */
#pragma once

#include "host/hostwords.h"
#include "host/workerlibrary.h"

/**
 * Calls the library's export on this thread, removes what the worker left behind, and ends the
 * process with kOrderlyEnd. If the stub goes and the worker does not end in time, the process is
 * ended by force. No library is told of the end, and no static object is destroyed.
 */
[[noreturn]] void RunWorker(const CWorkerLibrary& library, const HostWords& words);
