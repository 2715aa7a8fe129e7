#include "monitor/sources/gpufilter.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <utility>
#include <vector>

namespace zorvane {
namespace {

std::optional<uint32_t> Number(std::string_view digits, int base) {
    uint32_t value = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, base);
    return error == std::errc{} && stop == end ? std::optional(value) : std::nullopt;
}

// "domain:bus:device.function", of which the first and the last part may be missing.
std::optional<GpuChoice::Location> ParseLocation(std::string_view text) {
    constexpr int kHexadecimal = 16;
    text = text.substr(0, text.find('.'));
    std::vector<uint32_t> numbers;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find(':', begin), text.size());
        const auto number = Number(text.substr(begin, end - begin), kHexadecimal);
        if (!number) {
            return std::nullopt;
        }
        numbers.push_back(*number);
        begin = end + 1;
    }
    if (numbers.size() == 2) {
        numbers.insert(numbers.begin(), 0);
    }
    return numbers.size() == 3
               ? std::optional(GpuChoice::Location{numbers[0], numbers[1], numbers[2]})
               : std::nullopt;
}

}  // namespace

std::optional<GpuChoice> ParseGpuChoice(const std::string& text) {
    if (const auto index = Number(text, 10)) {
        return GpuChoice{*index, text};
    }
    if (const auto location = ParseLocation(text)) {
        return GpuChoice{*location, text};
    }
    return std::nullopt;
}

CGpuFilter::CGpuFilter(ISource& source, GpuChoice choice)
    : m_source(source), m_choice(std::move(choice)) {}

void CGpuFilter::Start(IEventSink& sink, Moment now) {
    m_sink = &sink;
    m_source.Start(*this, now);
}

void CGpuFilter::OnEvent(const Event& event) {
    if (std::holds_alternative<WorkerStartEvent>(event.body)) {
        m_index.reset();
    }
    NoteRound(event);
    if (IsWanted(event.body)) {
        m_sink->OnEvent(event);
    }
}

bool CGpuFilter::IsWanted(const EventBody& body) {
    const auto busIdOf = [](const GpuReading& reading) {
        return reading.pci ? std::optional(reading.pci->busId.str()) : std::nullopt;
    };
    if (const auto* fixed = std::get_if<GpuStatic>(&body)) {
        return IsWanted(fixed->first.index, busIdOf(fixed->first));
    }
    if (const auto* reading = std::get_if<GpuReading>(&body)) {
        return IsWanted(reading->index, busIdOf(*reading));
    }
    if (const auto* lost = std::get_if<GpuLostEvent>(&body)) {
        return IsWanted(lost->gpu.index, lost->gpu.busId);
    }
    if (const auto* back = std::get_if<GpuBackEvent>(&body)) {
        return IsWanted(back->gpu.index, back->gpu.busId);
    }
    const auto* warning = std::get_if<WarningEvent>(&body);
    return !warning || !warning->gpu || IsWanted(warning->gpu->index, warning->gpu->busId);
}

bool CGpuFilter::IsWanted(uint32_t index, const std::optional<std::string>& busId) {
    if (const auto* wanted = std::get_if<uint32_t>(&m_choice.which)) {
        return index == *wanted;
    }
    if (!busId) {
        return index == m_index;
    }
    const bool isWanted = ParseLocation(*busId) == std::get<GpuChoice::Location>(m_choice.which);
    if (isWanted) {
        m_index = index;
    }
    return isWanted;
}

// A GPU that reports again completes the round.
void CGpuFilter::NoteRound(const Event& event) {
    const auto* reading = std::get_if<GpuReading>(&event.body);
    if (!reading || m_isSettled) {
        return;
    }
    if (IsWanted(event.body)) {
        m_isSettled = true;
        return;
    }
    if (m_others.insert(reading->index).second) {
        m_list += fmt::format("{}{}{}", m_list.empty() ? "" : ", ", reading->index,
                              reading->pci ? " (" + reading->pci->busId.str() + ")" : "");
        return;
    }
    m_isSettled = true;
    m_sink->OnEvent({event.time, NoticeEvent{"gpu.not_found",
                                             fmt::format("no GPU {} has reported; there are: {}",
                                                         m_choice.text, m_list)}});
}

}  // namespace zorvane
