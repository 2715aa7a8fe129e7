#include "monitor/clock.h"

#include <fmt/format.h>

namespace zorvane {

std::string Rfc3339(const SYSTEMTIME& time) {
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", time.wYear, time.wMonth,
                       time.wDay, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds);
}

std::string UtcNow() {
    SYSTEMTIME now;
    GetSystemTime(&now);
    return Rfc3339(now);
}

std::string LocalClock() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    return fmt::format("{:02}:{:02}:{:02}", now.wHour, now.wMinute, now.wSecond);
}

}  // namespace zorvane
