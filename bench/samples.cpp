#include "bench/samples.h"

#include <algorithm>

Spread SpreadOf(std::vector<double> samples) {
    std::sort(samples.begin(), samples.end());
    const size_t last = samples.size() - 1;
    return {samples[last / 4], samples[last / 2], samples[last - last / 4]};
}

std::vector<double> RatiosOf(const std::vector<double>& own, const std::vector<double>& other) {
    std::vector<double> ratios(std::min(own.size(), other.size()));
    std::transform(own.begin(), own.begin() + static_cast<ptrdiff_t>(ratios.size()), other.begin(),
                   ratios.begin(), [](double one, double by) { return one / by; });
    return ratios;
}
