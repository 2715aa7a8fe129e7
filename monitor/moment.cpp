#include "monitor/moment.h"

#include <fmt/format.h>
#include <windows.h>

#include <algorithm>
#include <charconv>

namespace zorvane {
namespace {

using Days = std::chrono::days;
using Milliseconds = std::chrono::milliseconds;

FILETIME ToFileTime(UtcTime time) {
    ULARGE_INTEGER steps{};
    steps.QuadPart = static_cast<ULONGLONG>((time.time_since_epoch() + kWindowsEpochAge).count() *
                                            kWindowsStepsPerMillisecond);
    return {steps.LowPart, steps.HighPart};
}

// Of so few digits that they always fit.
std::optional<int> Number(std::string_view text) {
    if (text.find_first_not_of("0123456789") != std::string_view::npos) {
        return std::nullopt;
    }
    int value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

}  // namespace

std::string Rfc3339(UtcTime time) {
    const auto day = std::chrono::floor<Days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                       clock.hours().count(), clock.minutes().count(), clock.seconds().count(),
                       clock.subseconds().count());
}

std::optional<UtcTime> ParseRfc3339(std::string_view text) {
    constexpr std::string_view kForm = "0000-00-00T00:00:00.000Z";
    if (text.size() != kForm.size()) {
        return std::nullopt;
    }
    const auto year = Number(text.substr(0, 4));
    const auto month = Number(text.substr(5, 2));
    const auto day = Number(text.substr(8, 2));
    const auto hour = Number(text.substr(11, 2));
    const auto minute = Number(text.substr(14, 2));
    const auto second = Number(text.substr(17, 2));
    const auto fraction = Number(text.substr(20, 3));
    if (!year || !month || !day || !hour || !minute || !second || !fraction) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date(std::chrono::year(*year),
                                           std::chrono::month(static_cast<unsigned>(*month)),
                                           std::chrono::day(static_cast<unsigned>(*day)));
    if (!date.ok()) {
        return std::nullopt;
    }
    const UtcTime time = std::chrono::sys_days(date) + std::chrono::hours(*hour) +
                         std::chrono::minutes(*minute) + std::chrono::seconds(*second) +
                         Milliseconds(*fraction);
    // Compared with its own text, which checks the separators and ranges too.
    if (Rfc3339(time) != text) {
        return std::nullopt;
    }
    return time;
}

std::string LocalClock(UtcTime time) {
    const FILETIME utc = ToFileTime(time);
    SYSTEMTIME utcParts{};
    SYSTEMTIME local{};
    // The offset at that time, which summer time makes differ from today's.
    if (!FileTimeToSystemTime(&utc, &utcParts) ||
        !SystemTimeToTzSpecificLocalTime(nullptr, &utcParts, &local)) {
        return Rfc3339(time).substr(11, 8);
    }
    return fmt::format("{:02}:{:02}:{:02}", local.wHour, local.wMinute, local.wSecond);
}

}  // namespace zorvane
