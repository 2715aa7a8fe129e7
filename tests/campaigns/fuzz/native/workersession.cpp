// The one function of client/workersession.cpp that writing a recording calls; the rest of that
// file talks to Windows.
#include "client/workersession.h"

namespace zorvane {

std::string DescribeExit(const WorkerExit& exit) {
    return exit.forced ? "was ended by force" : DescribeExit(exit.code, exit.greeted, exit.asked);
}

}  // namespace zorvane
