/** Values of the simulated machine that follow one another. */
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

/** One value for good, one value a read, or one value a step of time. */
template <class Value>
class CSequence {
  public:
    explicit CSequence(Value constant) : m_values{std::move(constant)} {}

    /** `values[n]` on read n, counted from 0; the last one for every read after it. Not empty. */
    static CSequence PerRead(std::vector<Value> values) { return {std::move(values), 0}; }

    /**
     * `values[floor(seconds / stepSeconds)]`, from the start again after the last one. Not empty;
     * `stepSeconds` must be above 0.
     */
    static CSequence Steps(std::vector<Value> values, double stepSeconds) {
        return {std::move(values), stepSeconds};
    }

    /** The value at `seconds` (not negative) of the machine's time; counts as one read. */
    const Value& Read(double seconds) {
        if (m_stepSeconds > 0) {
            const double step = std::floor(seconds / m_stepSeconds);
            return m_values[static_cast<size_t>(
                std::fmod(step, static_cast<double>(m_values.size())))];
        }
        const size_t index = std::min(m_reads, m_values.size() - 1);
        ++m_reads;
        return m_values[index];
    }

  private:
    CSequence(std::vector<Value> values, double stepSeconds)
        : m_values(std::move(values)), m_stepSeconds(stepSeconds) {}

    std::vector<Value> m_values;
    // 0: one value a read
    double m_stepSeconds = 0;
    size_t m_reads = 0;
};
