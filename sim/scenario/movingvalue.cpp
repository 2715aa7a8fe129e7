#include "sim/scenario/movingvalue.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

// 0 at the start of a period, 1 after a quarter, -1 after three quarters.
double Triangle(double fraction) {
    if (fraction < 0.25) {
        return 4 * fraction;
    }
    return fraction < 0.75 ? 2 - 4 * fraction : 4 * fraction - 4;
}

double ValueOf(double constant, double /*seconds*/) { return constant; }

double ValueOf(const Wave& wave, double seconds) {
    const double periods = seconds / wave.periodSeconds;
    const double fraction = periods - std::floor(periods);
    const double shape = wave.shape == WaveShape::kTriangle
                             ? Triangle(fraction)
                             : std::sin(2 * std::numbers::pi * fraction);
    return wave.base + wave.amplitude * shape;
}

double ValueOf(const Steps& steps, double seconds) {
    const double index = std::fmod(std::floor(seconds / steps.stepSeconds),
                                   static_cast<double>(steps.values.size()));
    return steps.values[static_cast<size_t>(index)];
}

double ValueOf(PerRead& perRead, double /*seconds*/) {
    const size_t index = std::min(perRead.reads, perRead.values.size() - 1);
    ++perRead.reads;
    return perRead.values[index];
}

template <class Integer>
Integer RoundTo(double value) {
    constexpr double kLowest = std::numeric_limits<Integer>::lowest();
    constexpr double kHighest = std::numeric_limits<Integer>::max();
    return static_cast<Integer>(std::clamp(std::round(value), kLowest, kHighest));
}

}  // namespace

double CMovingValue::Read(double seconds) {
    return std::visit([seconds](auto& form) { return ValueOf(form, seconds); }, m_form);
}

uint32_t RoundToUnsigned(double value) { return RoundTo<uint32_t>(value); }

int32_t RoundToSigned(double value) { return RoundTo<int32_t>(value); }
