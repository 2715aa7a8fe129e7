/** Figures that were measured many times. */
#pragma once

#include <windows.h>

#include <vector>

/** Seconds since some moment; wall time. */
inline double Now() {
    LARGE_INTEGER ticks{};
    LARGE_INTEGER perSecond{};
    QueryPerformanceCounter(&ticks);
    QueryPerformanceFrequency(&perSecond);
    return static_cast<double>(ticks.QuadPart) / static_cast<double>(perSecond.QuadPart);
}

/** Wall seconds that `work` takes. */
template <typename Work>
double SecondsOf(Work&& work) {
    const double begin = Now();
    work();
    return Now() - begin;
}

/** The median and the quartiles around it. */
struct Spread {
    double lower = 0;
    double median = 0;
    double upper = 0;
};

/** Of at least one sample. */
Spread SpreadOf(std::vector<double> samples);

/** Each sample of `own` divided by the one of `other` that was taken right after it. */
std::vector<double> RatiosOf(const std::vector<double>& own, const std::vector<double>& other);
