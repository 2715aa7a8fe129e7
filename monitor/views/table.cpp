#include "monitor/views/table.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>

#include "monitor/moment.h"
#include "monitor/terminal/celltext.h"
#include "monitor/views/gpucolumns.h"
#include "monitor/views/historylines.h"

namespace zorvane {
namespace {

std::string DriverVersion(const CMachineModel& model) {
    for (const auto& [source, row] : model.Gpus()) {
        if (row.fixed && row.fixed->driverVersion) {
            return Harmless(*row.fixed->driverVersion);
        }
    }
    return kNotRead;
}

// A part of the first line; those of the highest rank go first when it is too long.
struct HeadPart {
    int rank;
    Span span;
};

StyledLine Joined(std::vector<HeadPart> parts, size_t width) {
    while (true) {
        StyledLine line;
        for (const HeadPart& part : parts) {
            line.spans.push_back({line.spans.empty() ? "" : "  ", Style::kPlain});
            line.spans.push_back(part.span);
        }
        const auto last = std::max_element(
            parts.begin(), parts.end(),
            [](const HeadPart& left, const HeadPart& right) { return left.rank < right.rank; });
        if (CellsOf(PlainText(line)) <= width || last->rank == 0) {
            return line;
        }
        parts.erase(last);
    }
}

StyledLine WorkerLine(const CMachineModel& model, size_t width) {
    const auto& hello = model.WorkerHello();
    const std::string name =
        hello ? fmt::format("\"{}\"", Harmless(hello->entry)) : "(no hello yet)";
    std::vector<HeadPart> parts{
        {0, {LocalClock(model.Time())}},
        {2, {fmt::format("worker {} {}", model.WorkerId(), name)}},
        {3, {fmt::format("NVIDIA driver {}", DriverVersion(model))}},
    };
    if (model.IsPaused()) {
        parts[1] = {1, {"PAUSED ON BATTERY", Style::kAlarm}};
    } else if (!model.IsWorkerUp()) {
        parts.insert(parts.begin() + 2, {1, {"(has ended)", Style::kAlarm}});
    } else if (model.StaleSince()) {
        const std::string since = "NO READINGS SINCE " + LocalClock(*model.StaleSince());
        parts.insert(parts.begin() + 2, {1, {since, Style::kAlarm}});
    }
    if (model.Start() && model.Start()->simulated) {
        parts.insert(parts.begin() + 1, {1, {"SIMULATED", Style::kAlarm}});
    }
    return Joined(std::move(parts), width);
}

// Why it is missing, in a few words; empty where that is not known.
std::string Brief(const CMachineModel& model, const std::string& what) {
    const auto reason = model.Missing().find(what);
    return reason == model.Missing().end() ? std::string() : Harmless(reason->second.brief);
}

StyledLines AllGpuLines(const CMachineModel& model, size_t width) {
    if (model.Gpus().empty()) {
        const std::string brief = Brief(model, "gpu");
        return {brief.empty() ? "No NVIDIA GPU has been reported." : "No NVIDIA GPU: " + brief};
    }
    return GpuLines(model, width);
}

Span CpuTemperatureText(const CMachineModel& model) {
    if (!model.Cpu()) {
        return {kNotRead};
    }
    const std::string text = fmt::format("{} C", model.Cpu()->temperature.celsius);
    return model.IsOver("cpu.temp", std::nullopt) ? Span{"!" + text, Style::kAlarm} : Span{text};
}

StyledLine CpuLine(const CMachineModel& model) {
    StyledLine line("CPU temperature: ");
    line.spans.push_back(CpuTemperatureText(model));
    if (!model.Cpu()) {
        const std::string brief = Brief(model, kCpuSource);
        line.spans.push_back({brief.empty() ? "" : fmt::format(" ({})", brief)});
    }
    return line;
}

// The last line of a table that has no room for every GPU.
StyledLine RestLine(const CMachineModel& model, size_t hidden) {
    StyledLine line(fmt::format("... and {} more, CPU ", hidden));
    line.spans.push_back(CpuTemperatureText(model));
    return line;
}

void CutToRows(StyledLines& lines, const CMachineModel& model, size_t rows) {
    const size_t shown = rows < 2 ? 0 : rows - 2;
    if (lines.size() <= rows || model.Gpus().empty()) {
        lines.resize(std::min(lines.size(), rows));
        return;
    }
    const size_t gpus = shown > kHeadingLines ? shown - kHeadingLines : 0;
    lines.resize(1 + shown);
    lines.push_back(RestLine(model, model.Gpus().size() - gpus));
    lines.resize(std::min(lines.size(), rows));
}

// Breaks the text at blanks. The lines after the first are set in as far as the heading is long.
StyledLines Wrapped(const std::string& heading, const std::string& text, size_t width) {
    std::vector<std::string> lines{heading};
    const std::string indent(CellsOf(heading), ' ');
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        std::string& line = lines.back();
        const bool isFirst = CellsOf(line) == indent.size();
        if (!isFirst && width - std::min(width, CellsOf(line)) <= CellsOf(word)) {
            lines.push_back(indent + word);
            continue;
        }
        line += (isFirst ? "" : " ") + word;
    }
    return {lines.begin(), lines.end()};
}

// The reasons as sentences, with what to do, for what the table above shows as not read.
StyledLines ReasonLines(const CMachineModel& model, size_t width) {
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
    StyledLines lines;
    for (const Part& part : parts) {
        const auto reason = model.Missing().find(part.what);
        if (part.isMissing && reason != model.Missing().end()) {
            const std::string text = reason->second.text + " " + reason->second.remedy;
            const auto wrapped = Wrapped(part.heading, Harmless(text), width);
            lines.insert(lines.end(), wrapped.begin(), wrapped.end());
        }
    }
    return lines;
}

}  // namespace

StyledLines RenderStyledTable(const CMachineModel& model, const TableSpace& space) {
    StyledLines lines = AllGpuLines(model, space.columns);
    lines.insert(lines.begin(), WorkerLine(model, space.columns));
    lines.push_back(CpuLine(model));
    const StyledLines history =
        space.hasHistory ? HistoryLines(model, space.columns) : StyledLines();
    const StyledLines reasons = ReasonLines(model, space.columns);
    if (lines.size() + reasons.size() <= space.rows) {
        lines.insert(lines.end(), reasons.begin(), reasons.end());
    }
    if (lines.size() > space.rows) {
        CutToRows(lines, model, space.rows);
    } else if (!history.empty() && lines.size() + 1 + history.size() <= space.rows) {
        lines.emplace_back();
        lines.insert(lines.end(), history.begin(), history.end());
    }
    for (StyledLine& line : lines) {
        line = CutLine(line, space.columns);
    }
    return lines;
}

std::vector<std::string> RenderTable(const CMachineModel& model, size_t width) {
    std::vector<std::string> lines;
    for (const StyledLine& line : RenderStyledTable(model, {.columns = width})) {
        std::string text = PlainText(line);
        text.erase(text.find_last_not_of(' ') + 1);
        lines.push_back(text);
    }
    return lines;
}

}  // namespace zorvane
