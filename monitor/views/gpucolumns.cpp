#include "monitor/views/gpucolumns.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

#include "monitor/terminal/celltext.h"

namespace zorvane {
namespace {

constexpr size_t kColumnGap = 2;
// Cells of a name that is still good to read, and of one that is better than none.
constexpr size_t kReadableName = 16;
constexpr size_t kShortestName = 6;

using CellText = std::string (*)(const GpuRow& row);

enum class ColumnKind { kBusId, kName, kNumber };

struct Column {
    const char* heading;
    const char* unit;
    ColumnKind kind;
    // Columns of the highest rank go first when the table is too wide; those of rank 0 stay.
    int rank;
    // The word of its threshold; null if it has none.
    const char* watched;
    CellText text;
};

// Of the columns that go before names become unreadable.
constexpr int kLesserRank = 5;

template <typename T>
std::string OrNotRead(const std::optional<T>& value) {
    return value ? fmt::format("{}", *value) : kNotRead;
}

template <std::optional<uint32_t> GpuReading::*kMember>
std::string Latest(const GpuRow& row) {
    return row.latest ? OrNotRead((*row.latest).*kMember) : kNotRead;
}

template <size_t kType>
std::string Clock(const GpuRow& row) {
    return row.latest ? OrNotRead(row.latest->clocksMHz[kType]) : kNotRead;
}

std::string Name(const GpuRow& row) {
    if (row.latest && row.latest->name) {
        return Harmless(*row.latest->name);
    }
    if (row.fixed && row.fixed->first.name) {
        return Harmless(*row.fixed->first.name);
    }
    return kNotRead;
}

std::string BusId(const GpuRow& row) { return GpuLabel(row, false); }

std::string TotalMiB(const GpuRow& row) {
    if (!row.fixed || !row.fixed->totalMemoryKiB) {
        return kNotRead;
    }
    return fmt::format("{}", *row.fixed->totalMemoryKiB / 1024);
}

constexpr Column kGpuColumns[] = {
    {"PCI bus id", "", ColumnKind::kBusId, 0, nullptr, &BusId},
    {"Name", "", ColumnKind::kName, 4, nullptr, &Name},
    {"GPU", "%", ColumnKind::kNumber, 1, "gpu.util", &Latest<&GpuReading::gpuUtilizationPercent>},
    {"Mem", "%", ColumnKind::kNumber, 3, "gpu.mem", &Latest<&GpuReading::memoryUtilizationPercent>},
    {"Temp", "C", ColumnKind::kNumber, 0, "gpu.temp", &Latest<&GpuReading::temperatureCelsius>},
    {"Fan", "%", ColumnKind::kNumber, 2, "gpu.fan", &Latest<&GpuReading::fanSpeedPercent>},
    {"Graphics", "MHz", ColumnKind::kNumber, 5, nullptr, &Clock<kClockGraphics>},
    {"SM", "MHz", ColumnKind::kNumber, 8, nullptr, &Clock<kClockSm>},
    {"Memory", "MHz", ColumnKind::kNumber, 6, nullptr, &Clock<kClockMemory>},
    {"Video", "MHz", ColumnKind::kNumber, 9, nullptr, &Clock<kClockVideo>},
    {"VRAM", "MiB", ColumnKind::kNumber, 7, nullptr, &TotalMiB},
};

// One column with the text of all its lines.
struct FilledColumn {
    const Column* column = nullptr;
    std::vector<Span> cells;
    size_t width = 0;
};

using FilledColumns = std::vector<FilledColumn>;

void Measure(FilledColumn& filled) {
    filled.width = 0;
    for (const Span& cell : filled.cells) {
        filled.width = std::max(filled.width, CellsOf(cell.text));
    }
}

FilledColumn Fill(const Column& column, const CMachineModel& model) {
    FilledColumn filled{
        &column, {{column.heading, Style::kHeading}, {column.unit, Style::kHeading}}, 0};
    for (const auto& [source, row] : model.Gpus()) {
        const std::string text = column.text(row);
        const bool isOver =
            column.watched && text != kNotRead && model.IsOver(column.watched, row.index);
        filled.cells.push_back(isOver ? Span{"!" + text, Style::kAlarm} : Span{text});
    }
    Measure(filled);
    return filled;
}

size_t TotalWidth(const FilledColumns& columns) {
    return std::accumulate(columns.begin(), columns.end(), size_t{0},
                           [](size_t sum, const FilledColumn& filled) {
                               return sum + filled.width + kColumnGap;
                           }) -
           kColumnGap;
}

FilledColumn* Find(FilledColumns& columns, ColumnKind kind) {
    const auto found =
        std::find_if(columns.begin(), columns.end(),
                     [&](const FilledColumn& filled) { return filled.column->kind == kind; });
    return found == columns.end() ? nullptr : &*found;
}

void ShortenBusIds(FilledColumns& columns, const CMachineModel& model) {
    FilledColumn* busIds = Find(columns, ColumnKind::kBusId);
    busIds->cells[0].text = "PCI";
    size_t line = kHeadingLines;
    for (const auto& [source, row] : model.Gpus()) {
        busIds->cells[line++].text = GpuLabel(row, true);
    }
    Measure(*busIds);
}

// Leaves columns out that are not below a rank, until the rest fits with names of so many cells.
void LeaveOut(FilledColumns& columns, size_t width, size_t nameCells, int lowestRank) {
    while (true) {
        const FilledColumn* names = Find(columns, ColumnKind::kName);
        const size_t gain = names && names->width > nameCells ? names->width - nameCells : 0;
        const auto last = std::max_element(columns.begin(), columns.end(),
                                           [](const FilledColumn& left, const FilledColumn& right) {
                                               return left.column->rank < right.column->rank;
                                           });
        if (TotalWidth(columns) - gain <= width || last->column->rank < lowestRank) {
            return;
        }
        columns.erase(last);
    }
}

// Words that most names begin with go before letters that tell the GPU apart.
void ShortenNames(FilledColumns& columns, size_t width) {
    FilledColumn* names = Find(columns, ColumnKind::kName);
    for (const std::string brand : {"NVIDIA ", "GeForce "}) {
        if (!names || TotalWidth(columns) <= width) {
            return;
        }
        for (Span& cell : names->cells) {
            cell.text.erase(0, cell.text.starts_with(brand) ? brand.size() : 0);
        }
        Measure(*names);
    }
    const size_t total = TotalWidth(columns);
    if (total > width) {
        const size_t wanted = names->width - std::min(names->width, total - width);
        for (Span& cell : names->cells) {
            cell.text = ShortenedToCells(cell.text, std::max(wanted, kShortestName));
        }
        Measure(*names);
    }
}

void Fit(FilledColumns& columns, size_t width, const CMachineModel& model) {
    if (TotalWidth(columns) <= width) {
        return;
    }
    ShortenBusIds(columns, model);
    LeaveOut(columns, width, kReadableName, kLesserRank);
    LeaveOut(columns, width, kShortestName, 1);
    ShortenNames(columns, width);
}

StyledLine Line(const FilledColumns& columns, size_t number) {
    StyledLine line;
    for (const FilledColumn& filled : columns) {
        const Span& cell = filled.cells[number];
        const std::string padding(filled.width - CellsOf(cell.text), ' ');
        const bool isNumber = filled.column->kind == ColumnKind::kNumber;
        const std::string gap(line.spans.empty() ? 0 : kColumnGap, ' ');
        line.spans.push_back({gap + (isNumber ? padding : ""), Style::kPlain});
        line.spans.push_back(cell);
        line.spans.push_back({isNumber ? "" : padding, Style::kPlain});
    }
    std::erase_if(line.spans, [](const Span& span) { return span.text.empty(); });
    return line;
}

}  // namespace

StyledLines GpuLines(const CMachineModel& model, size_t width) {
    FilledColumns columns;
    for (const Column& column : kGpuColumns) {
        columns.push_back(Fill(column, model));
    }
    Fit(columns, width, model);
    StyledLines lines;
    for (size_t i = 0; i < model.Gpus().size() + kHeadingLines; ++i) {
        lines.push_back(Line(columns, i));
    }
    return lines;
}

// Without a bus id the index identifies the GPU, though not across boots.
std::string GpuLabel(const GpuRow& row, bool isShort) {
    if (!row.busId) {
        return fmt::format("index {}", row.index);
    }
    const std::string busId = Harmless(*row.busId);
    const size_t colon = busId.find(':');
    const bool isDomain0 = colon != std::string::npos && busId.find_first_not_of('0') >= colon;
    return isShort && isDomain0 ? busId.substr(colon + 1) : busId;
}

}  // namespace zorvane
