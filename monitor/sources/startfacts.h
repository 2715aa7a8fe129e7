#pragma once

#include <string>

#include "client/commandline.h"
#include "monitor/event.h"

namespace zorvane {

/** This computer's name in UTF-8; empty where Windows gives none. */
std::string ComputerName();

/** The first event of a run with this worker; asks Windows for the computer's name and for the
 * version in the library's file. */
StartEvent MakeStart(const WorkerCommand& worker);

}  // namespace zorvane
