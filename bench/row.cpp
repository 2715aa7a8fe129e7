#include "bench/row.h"

#include <fmt/core.h>

#include <string_view>

#include "bench/samples.h"

namespace {

std::string TimeText(double seconds) {
    if (seconds < 1e-6) {
        return fmt::format("{:.1f} ns", seconds * 1e9);
    }
    if (seconds < 1e-3) {
        return fmt::format("{:.2f} us", seconds * 1e6);
    }
    return seconds < 1 ? fmt::format("{:.2f} ms", seconds * 1e3) : fmt::format("{:.2f} s", seconds);
}

std::string SpreadText(const std::vector<double>& samples) {
    if (samples.empty()) {
        return "-";
    }
    const Spread spread = SpreadOf(samples);
    return fmt::format("{} ({} to {})", TimeText(spread.median), TimeText(spread.lower),
                       TimeText(spread.upper));
}

std::string RatioText(const Row& row, const std::vector<double>& other) {
    if (other.empty()) {
        return "-";
    }
    const Spread spread = SpreadOf(RatiosOf(row.own, other));
    return fmt::format("{:.2f} ({:.2f} to {:.2f})", spread.median, spread.lower, spread.upper);
}

constexpr std::string_view kLine = "| {} | {} | {} | {} | {} | {} | {} | {} |\n";

}  // namespace

void PrintHeader() {
    fmt::print(kLine, "what", "this project", "floor", "ratio", "goal", "peer", "ratio", "counts");
    fmt::print("|---|---|---|---|---|---|---|---|\n");
}

void PrintRow(const Row& row) {
    fmt::print(kLine, row.name, SpreadText(row.own), SpreadText(row.floor),
               RatioText(row, row.floor), row.goal > 0 ? fmt::format("{:.2f}", row.goal) : "-",
               SpreadText(row.peer), RatioText(row, row.peer), row.counts);
    fflush(stdout);
}

std::string CountsText(const CallsByName& calls, unsigned times) {
    uint64_t allocations = 0;
    uint64_t others = 0;
    for (const auto& [function, count] : calls) {
        if (function == "malloc" || function == "calloc" || function == "realloc") {
            allocations += count;
        } else if (function != "free") {
            others += count;
        }
    }
    return fmt::format("{:g} calls, {:g} allocations", static_cast<double>(others) / times,
                       static_cast<double>(allocations) / times);
}
