#include "monitor/report/reportbuilder.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "base/text.h"
#include "monitor/json/jsonline.h"
#include "monitor/report/profilenames.h"
#include "web/webpage.h"

namespace zorvane {
namespace {

using OrderedJson = nlohmann::ordered_json;

// About 3 MB of numbers in a page, in which one takes about ten bytes.
constexpr size_t kMostPoints = 300000;
constexpr size_t kPointsOfAStep = 3;
constexpr size_t kFirstLines = 500;
constexpr size_t kLastLines = 1500;

template <typename T>
std::optional<double> AsDouble(const std::optional<T>& value) {
    return value ? std::optional(static_cast<double>(*value)) : std::nullopt;
}

// Whole numbers without a decimal point, the rest with two digits: it is all that is shown.
OrderedJson Short(double value) {
    constexpr double kHundredths = 100;
    const double rounded = std::round(value * kHundredths) / kHundredths;
    const auto whole = static_cast<int64_t>(rounded);
    return static_cast<double>(whole) == rounded ? OrderedJson(whole) : OrderedJson(rounded);
}

// Times as differences to the one before, the first one to `from`.
void AddPoints(OrderedJson& part, const CThinnedSeries& series, UtcTime from) {
    OrderedJson times = OrderedJson::array();
    OrderedJson values = OrderedJson::array();
    UtcTime last = from;
    for (const SeriesPoint& point : series.Points()) {
        times.push_back((point.time - last).count());
        values.push_back(point.value ? Short(*point.value) : OrderedJson(nullptr));
        last = point.time;
    }
    part["times"] = std::move(times);
    part["values"] = std::move(values);
}

OrderedJson SeriesPart(const char* quantity, const CThinnedSeries& series, UtcTime from) {
    const auto summary = series.Summary();
    OrderedJson part = {{"quantity", quantity},
                        {"lowest", summary ? Short(summary->lowest) : OrderedJson(nullptr)},
                        {"average", summary ? Short(summary->average) : OrderedJson(nullptr)},
                        {"highest", summary ? Short(summary->highest) : OrderedJson(nullptr)},
                        {"last", summary ? Short(summary->last) : OrderedJson(nullptr)}};
    AddPoints(part, series, from);
    return part;
}

// Every text for itself, so that what is put in never breaks the JSON.
OrderedJson MaskTexts(OrderedJson json, const CSecretWords& secrets) {
    if (json.is_string()) {
        return secrets.Masked(json.get<std::string>());
    }
    for (auto& [key, value] : json.items()) {
        if (value.is_structured() || value.is_string()) {
            value = MaskTexts(std::move(value), secrets);
        }
    }
    return json;
}

// As a user's name may be a word like another, its letter case matters outside of paths.
void HideUsers(const OrderedJson& json, CSecretWords& secrets) {
    if (json.is_string()) {
        for (const std::string& name : ProfileNamesIn(json.get<std::string>())) {
            secrets.Hide(name, kUserMask, WordCase::kAnyInPaths);
        }
        return;
    }
    for (const OrderedJson& value : json) {
        if (value.is_structured() || value.is_string()) {
            HideUsers(value, secrets);
        }
    }
}

// A data block in HTML ends at the next "</script", and a "<!--" changes how its end is found.
std::string EscapedForHtml(std::string text) {
    for (size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at)) {
        text.replace(at, 1, "\\u003c");
    }
    return text;
}

}  // namespace

const char* CReportBuilder::NameOf(Quantity quantity) {
    constexpr const char* kNames[] = {"temperature", "gpu_use", "memory_use", "fan",
                                      "graphics",    "sm",      "memory",     "video"};
    static_assert(std::size(kNames) == kQuantityCount);
    return kNames[quantity];
}

void CReportBuilder::Add(const Event& event) {
    m_from = m_lines == 0 ? event.time : std::min(m_from, event.time);
    m_to = m_lines == 0 ? event.time : std::max(m_to, event.time);
    ++m_lines;
    m_model.Apply(event);
    NoteSecrets(event);
    if (const auto* reading = std::get_if<GpuReading>(&event.body)) {
        AddReading(*reading, event.time);
        return;
    }
    if (const auto* cpu = std::get_if<CpuTemperature>(&event.body)) {
        ++m_readings;
        m_cpu.Add(event.time, cpu->celsius);
        return;
    }
    if (std::holds_alternative<CpuUnreadEvent>(event.body)) {
        m_cpu.Add(event.time, std::nullopt);
        return;
    }
    if (std::holds_alternative<StaleEvent>(event.body) ||
        std::holds_alternative<WorkerStartEvent>(event.body) ||
        std::holds_alternative<ExitEvent>(event.body)) {
        InterruptAll(event.time);
    }
    AddLine(event);
}

void CReportBuilder::AddReading(const GpuReading& reading, UtcTime time) {
    ++m_readings;
    Gpu& gpu = m_gpus[m_model.SourceOf(reading)];
    gpu.index = reading.index;
    gpu.busId = reading.pci ? std::optional(reading.pci->busId) : gpu.busId;
    gpu.name = reading.name ? reading.name : gpu.name;
    gpu.series[kTemperature].Add(time, AsDouble(reading.temperatureCelsius));
    gpu.series[kGpuUse].Add(time, AsDouble(reading.gpuUtilizationPercent));
    gpu.series[kMemoryUse].Add(time, AsDouble(reading.memoryUtilizationPercent));
    gpu.series[kFan].Add(time, AsDouble(reading.fanSpeedPercent));
    constexpr int kClockOrder[] = {kClockGraphics, kClockSm, kClockMemory, kClockVideo};
    for (size_t i = 0; i < std::size(kClockOrder); ++i) {
        gpu.series[kGraphics + i].Add(
            time, AsDouble(reading.clocksMHz[static_cast<size_t>(kClockOrder[i])]));
    }
}

void CReportBuilder::InterruptAll(UtcTime time) {
    m_cpu.Interrupt(time);
    for (auto& [source, gpu] : m_gpus) {
        for (CThinnedSeries& series : gpu.series) {
            series.Interrupt(time);
        }
    }
}

void CReportBuilder::NoteSecrets(const Event& event) {
    if (const auto* start = std::get_if<StartEvent>(&event.body)) {
        m_secrets.Hide(start->host, kComputerMask);
    }
    const auto* fixed = std::get_if<GpuStatic>(&event.body);
    if (fixed && fixed->serial) {
        m_secrets.Hide(ToUtf8(*fixed->serial), kSerialMask);
    }
}

// All texts come before the first is masked: the path that tells a name may not be the only text
// that has it.
void CReportBuilder::NoteUsers() {
    if (!m_doctor.empty()) {
        HideUsers(OrderedJson::parse(m_doctor), m_secrets);
    }
    for (const auto* lines : {&m_firstLines, &m_lastLines}) {
        for (const std::string& line : *lines) {
            HideUsers(OrderedJson::parse(line), m_secrets);
        }
    }
}

void CReportBuilder::AddLine(const Event& event) {
    std::string line = JsonLine(event, m_model.Origin());
    if (m_firstLines.size() < kFirstLines) {
        m_firstLines.push_back(std::move(line));
        return;
    }
    m_lastLines.push_back(std::move(line));
    if (m_lastLines.size() > kLastLines) {
        m_lastLines.pop_front();
        ++m_linesLeftOut;
    }
}

bool CReportBuilder::AddDoctor(const std::string& text) {
    const OrderedJson report = OrderedJson::parse(text, nullptr, false);
    if (!report.is_object() || !report.contains("checks") || !report["checks"].is_array() ||
        !report.contains("readings") || !report["readings"].is_array()) {
        return false;
    }
    const auto host = report.find("host");
    if (host != report.end() && host->is_string()) {
        m_secrets.Hide(host->get<std::string>(), kComputerMask);
    }
    m_doctor = report.dump(-1, ' ', false, OrderedJson::error_handler_t::replace);
    return true;
}

std::string CReportBuilder::MaskedText(const std::string& json) const {
    return m_mask ? MaskTexts(OrderedJson::parse(json), m_secrets)
                        .dump(-1, ' ', false, OrderedJson::error_handler_t::replace)
                  : json;
}

// The events are JSON already.
std::string CReportBuilder::Events() const {
    std::string text = "[";
    for (const auto* lines : {&m_firstLines, &m_lastLines}) {
        for (const std::string& line : *lines) {
            text += (text.size() > 1 ? "," : "") + MaskedText(line);
        }
    }
    return text + "]";
}

size_t CReportBuilder::SeriesCount() const { return 1 + m_gpus.size() * kQuantityCount; }

std::string CReportBuilder::Page(UtcTime now) {
    if (m_mask) {
        NoteUsers();
    }
    const size_t steps = kMostPoints / kPointsOfAStep / SeriesCount();
    OrderedJson series = OrderedJson::array();
    std::chrono::milliseconds longestStep{};
    const auto add = [&](const Gpu* gpu, const char* quantity, CThinnedSeries& one) {
        one.Coarsen(steps);
        longestStep = std::max(longestStep, one.Step());
        OrderedJson part = SeriesPart(quantity, one, m_from);
        part["index"] = gpu ? OrderedJson(gpu->index) : OrderedJson(nullptr);
        part["bus_id"] = gpu && gpu->busId ? OrderedJson(*gpu->busId) : OrderedJson(nullptr);
        part["name"] = gpu && gpu->name ? OrderedJson(ToUtf8(*gpu->name)) : OrderedJson(nullptr);
        series.push_back(std::move(part));
    };
    for (auto& [source, gpu] : m_gpus) {
        for (size_t i = 0; i < kQuantityCount; ++i) {
            add(&gpu, NameOf(static_cast<Quantity>(i)), gpu.series[i]);
        }
    }
    add(nullptr, NameOf(kTemperature), m_cpu);
    OrderedJson data = {{"made", Rfc3339(now)},
                        {"from", Rfc3339(m_from)},
                        {"to", Rfc3339(m_to)},
                        {"step_ms", longestStep.count()},
                        {"readings", m_readings},
                        {"masked", m_mask},
                        {"events_left_out", m_linesLeftOut},
                        {"series", std::move(series)}};
    std::string text = data.dump(-1, ' ', false, OrderedJson::error_handler_t::replace);
    text.back() = ',';
    text += "\"doctor\":" + (m_doctor.empty() ? "null" : MaskedText(m_doctor)) +
            ",\"events\":" + Events() + "}";
    return std::string(kReportHead) + EscapedForHtml(std::move(text)) + std::string(kReportTail);
}

}  // namespace zorvane
