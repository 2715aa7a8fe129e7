#include "sim/scenario/outcome.h"

#include <windows.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kMillisecondsPerSecond = 1000;

constexpr char kOutcomeForms[] = R"(a code, "hang", {"hang": seconds} or "crash")";
constexpr char kFormsWithoutCode[] = R"(0, "hang", {"hang": seconds} or "crash")";

int32_t ReadCode(const CJsonPlace& place) {
    return static_cast<int32_t>(
        place.Integer(std::numeric_limits<int32_t>::lowest(), std::numeric_limits<int32_t>::max()));
}

DWORD MillisecondsOf(double seconds) {
    // INFINITE is the number behind the longest time that Sleep knows.
    return std::isinf(seconds) ? INFINITE
                               : static_cast<DWORD>(std::min(seconds * kMillisecondsPerSecond,
                                                             double{INFINITE} - 1));
}

// An access violation also where undefined behaviour is made to end a program in its own way.
__attribute__((no_sanitize("undefined"))) void Crash() {
    volatile int* volatile nowhere = nullptr;
    // cppcheck-suppress nullPointer ; the crash is the purpose
    *nowhere = 0;
}

}  // namespace

void Disturb(const Outcome& outcome, const std::function<void(const char*)>& log) {
    if (outcome.hangSeconds > 0) {
        log("hang");
        Sleep(MillisecondsOf(outcome.hangSeconds));
    }
    if (outcome.crash) {
        log("crash");
        Crash();
    }
}

Outcome ReadOutcome(const CJsonPlace& place) {
    if (place.IsNumber()) {
        return {.result = ReadCode(place)};
    }
    if (place.IsText("hang")) {
        return {.hangSeconds = kHangForGood};
    }
    if (place.IsText("crash")) {
        return {.crash = true};
    }
    if (!place.Has("hang")) {
        place.Fail(kOutcomeForms);
    }
    Outcome outcome;
    place.ReadMembers({
        {"hang", [&](const CJsonPlace& value) { outcome.hangSeconds = value.PositiveNumber(); }},
        {"result", [&](const CJsonPlace& value) { outcome.result = ReadCode(value); }},
    });
    return outcome;
}

Outcome ReadOutcomeWithoutCode(const CJsonPlace& place) {
    const Outcome outcome = ReadOutcome(place);
    if (outcome.result != 0) {
        place.Complain(std::string("this function returns no code that could be set; expected ") +
                       kFormsWithoutCode);
    }
    return outcome;
}
