#include "monitor/views/historylines.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "monitor/terminal/celltext.h"
#include "monitor/views/gpucolumns.h"

namespace zorvane {
namespace {

constexpr size_t kHistoryGap = 2;
constexpr size_t kFewestBlocks = 10;
// "100 to 100 C".
constexpr size_t kRangeCells = 12;
constexpr const char* kBlocks[] = {"\xE2\x96\x81", "\xE2\x96\x82", "\xE2\x96\x83", "\xE2\x96\x84",
                                   "\xE2\x96\x85", "\xE2\x96\x86", "\xE2\x96\x87", "\xE2\x96\x88"};

struct Row {
    std::string label;
    const SourceHistory* history;
    bool isGpu;
};

std::vector<Row> Rows(const CMachineModel& model) {
    std::vector<Row> rows;
    for (const auto& [source, row] : model.Gpus()) {
        if (const SourceHistory* history = model.HistoryOf(source)) {
            rows.push_back({GpuLabel(row, true), history, true});
        }
    }
    if (const SourceHistory* history = model.HistoryOf(kCpuSource)) {
        rows.push_back({"CPU", history, false});
    }
    return rows;
}

// Without this a change by one degree would fill the whole height.
LowestHighest TemperatureScale(const LowestHighest& range) {
    constexpr int64_t kLeastHeight = static_cast<int64_t>(std::size(kBlocks)) - 1;
    return {range.lowest, std::max(range.highest, range.lowest + kLeastHeight)};
}

std::string Part(const CLastMinute& history, bool isTemperature, size_t cells) {
    const auto range = history.Range();
    if (!range) {
        return std::string(cells + kHistoryGap, ' ') + PaddedToCells(kNotRead, kRangeCells);
    }
    const LowestHighest scale = isTemperature ? TemperatureScale(*range) : LowestHighest{0, 100};
    const std::string text =
        fmt::format("{:>3} to {} {}", range->lowest, range->highest, isTemperature ? "C" : "%");
    return Blocks(history, scale, cells) + std::string(kHistoryGap, ' ') +
           PaddedToCells(text, kRangeCells);
}

}  // namespace

std::string Blocks(const CLastMinute& history, LowestHighest scale, size_t cells) {
    const auto& values = history.Values();
    const size_t count = std::min(values.size(), cells);
    std::string text(cells - count, ' ');
    for (size_t i = values.size() - count; i < values.size(); ++i) {
        if (!values[i]) {
            text += ' ';
            continue;
        }
        constexpr auto kHeights = static_cast<int64_t>(std::size(kBlocks));
        const int64_t height =
            (*values[i] - scale.lowest) * kHeights / (scale.highest - scale.lowest + 1);
        text += kBlocks[std::clamp<int64_t>(height, 0, kHeights - 1)];
    }
    return text;
}

StyledLines HistoryLines(const CMachineModel& model, size_t width) {
    const std::vector<Row> rows = Rows(model);
    size_t labelCells = 0;
    for (const Row& row : rows) {
        labelCells = std::max(labelCells, CellsOf(row.label));
    }
    constexpr size_t kBeside = kHistoryGap + kHistoryGap + kRangeCells;
    if (rows.empty() || width < labelCells + kBeside + kFewestBlocks) {
        return {};
    }
    const size_t blocks = std::min(CLastMinute::kKept, width - labelCells - kBeside);
    const bool hasBoth = width >= labelCells + 2 * (kBeside + CLastMinute::kKept);
    const std::string margin(labelCells + kHistoryGap, ' ');
    std::string heading = margin + PaddedToCells("Temperature in the last minute",
                                                 blocks + kHistoryGap + kRangeCells);
    if (hasBoth) {
        heading.append(kHistoryGap, ' ').append("GPU utilisation in the last minute");
    }
    StyledLines lines{{heading, Style::kHeading}};
    for (const Row& row : rows) {
        std::string line = PaddedToCells(row.label, labelCells + kHistoryGap) +
                           Part(row.history->temperature, true, blocks);
        if (hasBoth && row.isGpu) {
            line += std::string(kHistoryGap, ' ') + Part(row.history->utilization, false, blocks);
        }
        lines.emplace_back(line);
    }
    return lines;
}

}  // namespace zorvane
