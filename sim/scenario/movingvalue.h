/** Values of the simulated machine that change from read to read or with time. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <variant>
#include <vector>

/** The shape of one period of a wave; each begins at its middle and rises first. */
enum class WaveShape { kTriangle, kSine };

/** base + amplitude * shape(seconds / periodSeconds); the shape runs 0, 1, 0, -1, 0. */
struct Wave {
    WaveShape shape = WaveShape::kTriangle;
    double base = 0;
    double amplitude = 0;
    double periodSeconds = 1;
};

/** values[floor(seconds / stepSeconds)], from the start again after the last one. */
struct Steps {
    std::vector<double> values;
    double stepSeconds = 1;
};

/** values[n] on read n, counted from 0; the last one for every read after it. */
struct PerRead {
    std::vector<double> values;
    size_t reads = 0;
};

/** One value of the simulated machine: constant, or moving in one of the ways above. */
class CMovingValue {
  public:
    explicit CMovingValue(double constant = 0) : m_form(constant) {}
    /** `periodSeconds` must be above 0. */
    explicit CMovingValue(const Wave& wave) : m_form(wave) {}
    /** At least one value; `stepSeconds` must be above 0. */
    explicit CMovingValue(const Steps& steps) : m_form(steps) {}
    /** At least one value. */
    explicit CMovingValue(const PerRead& perRead) : m_form(perRead) {}

    /** The value at `seconds` (not negative) of the machine's time; counts as one read. */
    double Read(double seconds);

  private:
    std::variant<double, Wave, Steps, PerRead> m_form;
};

/** The nearest 32-bit number, halves away from zero; what lies outside goes to the nearer end. */
uint32_t RoundToUnsigned(double value);
/** As RoundToUnsigned. */
int32_t RoundToSigned(double value);
