#include "monitor/views/table.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <sstream>

#include "base/text.h"
#include "monitor/moment.h"

namespace zorvane {
namespace {

constexpr char kNotRead[] = "n/a";
constexpr size_t kGap = 2;

using Cell = std::string (*)(const GpuRow& row);

struct Column {
    const char* heading;
    const char* unit;
    bool isText;
    // Columns of the highest rank go first when the table is too wide; those of rank 0 stay.
    int rank;
    Cell cell;
};

template <typename T>
std::string OrNotRead(const std::optional<T>& value) {
    return value ? fmt::format("{}", *value) : kNotRead;
}

std::string Clock(const GpuRow& row, int type) {
    return row.latest ? OrNotRead(row.latest->clocksMHz[static_cast<size_t>(type)]) : kNotRead;
}

// A name from outside as one line of text, without control characters that a terminal would obey.
std::string Harmless(std::wstring text) {
    std::replace_if(
        text.begin(), text.end(),
        [](wchar_t c) { return c < L' ' || (c >= L'\x7F' && c < L'\xA0'); }, L'?');
    return ToUtf8(text);
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

// Without a bus id the index identifies the GPU, though not across boots.
std::string BusId(const GpuRow& row) {
    return row.busId ? Harmless(ToWide(*row.busId)) : fmt::format("index {}", row.index);
}

std::string TotalMiB(const GpuRow& row) {
    if (!row.fixed || !row.fixed->totalMemoryKiB) {
        return kNotRead;
    }
    return fmt::format("{}", *row.fixed->totalMemoryKiB / 1024);
}

constexpr Column kColumns[] = {
    {"PCI bus id", "", true, 0, &BusId},
    {"Name", "", true, 0, &Name},
    {"GPU", "%", false, 0,
     [](const GpuRow& row) {
         return row.latest ? OrNotRead(row.latest->gpuUtilizationPercent) : kNotRead;
     }},
    {"Mem", "%", false, 0,
     [](const GpuRow& row) {
         return row.latest ? OrNotRead(row.latest->memoryUtilizationPercent) : kNotRead;
     }},
    {"Temp", "C", false, 0,
     [](const GpuRow& row) {
         return row.latest ? OrNotRead(row.latest->temperatureCelsius) : kNotRead;
     }},
    {"Fan", "%", false, 0,
     [](const GpuRow& row) {
         return row.latest ? OrNotRead(row.latest->fanSpeedPercent) : kNotRead;
     }},
    {"Graphics", "MHz", false, 1, [](const GpuRow& row) { return Clock(row, kClockGraphics); }},
    {"SM", "MHz", false, 4, [](const GpuRow& row) { return Clock(row, kClockSm); }},
    {"Memory", "MHz", false, 2, [](const GpuRow& row) { return Clock(row, kClockMemory); }},
    {"Video", "MHz", false, 5, [](const GpuRow& row) { return Clock(row, kClockVideo); }},
    {"VRAM", "MiB", false, 3, &TotalMiB},
};

// Characters of UTF-8 text: every byte but those that continue a character.
size_t Length(std::string_view text) {
    return static_cast<size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string Cut(const std::string& text, size_t width) {
    size_t characters = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if ((text[i] & 0xC0) != 0x80 && characters++ == width) {
            return text.substr(0, i);
        }
    }
    return text;
}

// One column with the text of all its lines.
struct FilledColumn {
    const Column* column = nullptr;
    std::vector<std::string> texts;
    size_t width = 0;
};

FilledColumn Fill(const Column& column, const CMachineModel& model) {
    FilledColumn filled{&column, {column.heading, column.unit}, 0};
    for (const auto& [source, row] : model.Gpus()) {
        filled.texts.push_back(column.cell(row));
    }
    for (const std::string& text : filled.texts) {
        filled.width = std::max(filled.width, Length(text));
    }
    return filled;
}

size_t TotalWidth(const std::vector<FilledColumn>& columns) {
    return std::accumulate(
               columns.begin(), columns.end(), size_t{0},
               [](size_t sum, const FilledColumn& filled) { return sum + filled.width + kGap; }) -
           kGap;
}

// Leaves columns out until the rest fits or only those of rank 0 are left.
void Fit(std::vector<FilledColumn>& columns, size_t width) {
    while (TotalWidth(columns) > width) {
        const auto last = std::max_element(columns.begin(), columns.end(),
                                           [](const FilledColumn& left, const FilledColumn& right) {
                                               return left.column->rank < right.column->rank;
                                           });
        if (last->column->rank == 0) {
            return;
        }
        columns.erase(last);
    }
}

std::string Line(const std::vector<FilledColumn>& columns, size_t number) {
    std::string line;
    for (const FilledColumn& filled : columns) {
        const std::string& text = filled.texts[number];
        const std::string padding(filled.width - Length(text), ' ');
        if (!line.empty()) {
            line.append(kGap, ' ');
        }
        line += filled.column->isText ? text + padding : padding + text;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::string DriverVersion(const CMachineModel& model) {
    for (const auto& [source, row] : model.Gpus()) {
        if (row.fixed && row.fixed->driverVersion) {
            return Harmless(*row.fixed->driverVersion);
        }
    }
    return kNotRead;
}

std::string WorkerLine(const CMachineModel& model) {
    const auto& hello = model.WorkerHello();
    const std::string name =
        hello ? fmt::format("\"{}\"", Harmless(hello->entry)) : "(no hello yet)";
    std::string state;
    if (!model.IsWorkerUp()) {
        state = "  (has ended)";
    } else if (model.StaleSince()) {
        state = fmt::format("  NO READINGS SINCE {}", LocalClock(*model.StaleSince()));
    }
    const bool isSimulated = model.Start() && model.Start()->simulated;
    return fmt::format("{}{}  worker {} {}{}  NVIDIA driver {}", LocalClock(model.Time()),
                       isSimulated ? "  SIMULATED" : "", model.WorkerId(), name, state,
                       DriverVersion(model));
}

// Why it is missing, in a few words; empty where that is not known.
std::string Brief(const CMachineModel& model, const std::string& what) {
    const auto reason = model.Missing().find(what);
    return reason == model.Missing().end() ? std::string() : Harmless(ToWide(reason->second.brief));
}

std::vector<std::string> GpuLines(const CMachineModel& model, size_t width) {
    if (model.Gpus().empty()) {
        const std::string brief = Brief(model, "gpu");
        return {brief.empty() ? "No NVIDIA GPU has been reported." : "No NVIDIA GPU: " + brief};
    }
    std::vector<FilledColumn> columns;
    for (const Column& column : kColumns) {
        columns.push_back(Fill(column, model));
    }
    Fit(columns, width);
    std::vector<std::string> lines;
    for (size_t i = 0; i < model.Gpus().size() + 2; ++i) {
        lines.push_back(Line(columns, i));
    }
    return lines;
}

std::string CpuLine(const CMachineModel& model) {
    if (model.Cpu()) {
        return fmt::format("CPU temperature: {} C", model.Cpu()->temperature.celsius);
    }
    const std::string brief = Brief(model, kCpuSource);
    return fmt::format("CPU temperature: {}{}", kNotRead,
                       brief.empty() ? "" : fmt::format(" ({})", brief));
}

// Breaks the text at blanks. The lines after the first are set in as far as the heading is long.
std::vector<std::string> Wrapped(const std::string& heading, const std::string& text,
                                 size_t width) {
    std::vector<std::string> lines{heading};
    const std::string indent(Length(heading), ' ');
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        std::string& line = lines.back();
        const bool isFirst = Length(line) == indent.size();
        if (!isFirst && width - std::min(width, Length(line)) <= Length(word)) {
            lines.push_back(indent + word);
            continue;
        }
        line += (isFirst ? "" : " ") + word;
    }
    return lines;
}

// The reasons as sentences, with what to do, for what the table above shows as not read.
std::vector<std::string> ReasonLines(const CMachineModel& model, size_t width) {
    struct Part {
        const char* what;
        const char* heading;
        bool isMissing;
    };
    const bool lacksGpus = model.Gpus().empty();
    const bool lacksCpu = !model.Cpu();
    const Part parts[] = {
        {"gpu", "  GPU: ", lacksGpus},
        {"cpu", "  CPU: ", lacksCpu},
        {"log", "  Log: ", lacksGpus || lacksCpu},
    };
    std::vector<std::string> lines;
    for (const Part& part : parts) {
        const auto reason = model.Missing().find(part.what);
        if (part.isMissing && reason != model.Missing().end()) {
            const std::string text = reason->second.text + " " + reason->second.remedy;
            const auto wrapped = Wrapped(part.heading, Harmless(ToWide(text)), width);
            lines.insert(lines.end(), wrapped.begin(), wrapped.end());
        }
    }
    return lines;
}

}  // namespace

std::string Padded(const std::string& text, size_t width) {
    const size_t length = Length(text);
    return length < width ? text + std::string(width - length, ' ') : text;
}

std::vector<std::string> RenderTable(const CMachineModel& model, size_t width) {
    std::vector<std::string> lines = GpuLines(model, width);
    lines.insert(lines.begin(), WorkerLine(model));
    lines.push_back(CpuLine(model));
    const std::vector<std::string> reasons = ReasonLines(model, width);
    lines.insert(lines.end(), reasons.begin(), reasons.end());
    for (std::string& line : lines) {
        line = Cut(line, width);
    }
    return lines;
}

}  // namespace zorvane
