/** Numbers of the simulated machine that change from read to read or with time. */
#pragma once

#include <cstdint>
#include <variant>

#include "sim/scenario/sequence.h"

/** The shape of one period of a wave; each begins at its middle and rises first. */
enum class WaveShape { kTriangle, kSine };

/** base + amplitude * shape(seconds / periodSeconds); the shape runs 0, 1, 0, -1, 0. */
struct Wave {
    WaveShape shape = WaveShape::kTriangle;
    double base = 0;
    double amplitude = 0;
    double periodSeconds = 1;
};

/** One number of the simulated machine: a sequence, which may be a single constant, or a wave. */
class CMovingValue {
  public:
    explicit CMovingValue(double constant = 0) : m_form(CSequence<double>(constant)) {}
    explicit CMovingValue(CSequence<double> sequence) : m_form(std::move(sequence)) {}
    /** `periodSeconds` must be above 0. */
    explicit CMovingValue(const Wave& wave) : m_form(wave) {}

    /** The value at `seconds` (not negative) of the machine's time; counts as one read. */
    double Read(double seconds);

  private:
    std::variant<CSequence<double>, Wave> m_form;
};

/** The nearest 32-bit number, halves away from zero; what lies outside goes to the nearer end. */
uint32_t RoundToUnsigned(double value);
/** As RoundToUnsigned. */
int32_t RoundToSigned(double value);
