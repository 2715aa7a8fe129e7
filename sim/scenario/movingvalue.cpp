#include "sim/scenario/movingvalue.h"

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

double ValueOf(const Wave& wave, double seconds) {
    const double periods = seconds / wave.periodSeconds;
    const double fraction = periods - std::floor(periods);
    const double shape = wave.shape == WaveShape::kTriangle
                             ? Triangle(fraction)
                             : std::sin(2 * std::numbers::pi * fraction);
    return wave.base + wave.amplitude * shape;
}

template <class Integer>
Integer RoundTo(double value) {
    constexpr double kLowest = std::numeric_limits<Integer>::lowest();
    constexpr double kHighest = std::numeric_limits<Integer>::max();
    return static_cast<Integer>(std::clamp(std::round(value), kLowest, kHighest));
}

}  // namespace

double CMovingValue::Read(double seconds) {
    if (auto* sequence = std::get_if<CSequence<double>>(&m_form)) {
        return sequence->Read(seconds);
    }
    return ValueOf(std::get<Wave>(m_form), seconds);
}

uint32_t RoundToUnsigned(double value) { return RoundTo<uint32_t>(value); }

int32_t RoundToSigned(double value) { return RoundTo<int32_t>(value); }
