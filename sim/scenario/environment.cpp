#include "sim/scenario/environment.h"

#include <windows.h>

#include "base/processidentity.h"
#include "base/textstream.h"

namespace {

constexpr double kFileTimeTicksPerSecond = 1e7;

ULONGLONG Ticks(const FILETIME& time) {
    return (ULONGLONG{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

}  // namespace

double SecondsSinceProcessStart() {
    static const ULONGLONG kCreated = zorvane::OwnIdentity().creationTime;
    FILETIME now{};
    GetSystemTimePreciseAsFileTime(&now);
    // A clock that was set back must not give a negative time.
    const ULONGLONG elapsed = Ticks(now) > kCreated ? Ticks(now) - kCreated : 0;
    return static_cast<double>(elapsed) / kFileTimeTicksPerSecond;
}

void WriteErrorLine(const std::string& line) {
    zorvane::WriteText(GetStdHandle(STD_ERROR_HANDLE), line + "\r\n");
}
