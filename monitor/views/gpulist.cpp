#include "monitor/views/gpulist.h"

#include <fmt/format.h>

#include <variant>

#include "monitor/json/jsonline.h"
#include "monitor/terminal/celltext.h"
#include "monitor/views/gpucolumns.h"

namespace zorvane {
namespace {

std::string Text(const std::optional<WireText>& text) { return text ? Harmless(*text) : kNotRead; }

std::string ClockText(const Clocks& clocks, size_t type) {
    return clocks[type] ? fmt::format("{} MHz", *clocks[type]) : kNotRead;
}

std::string Line(const char* name, const std::string& value) {
    return fmt::format("  {:<16}  {}\n", name, value);
}

}  // namespace

std::string GpuBlock(const GpuStatic& fixed) {
    const auto& pci = fixed.first.pci;
    const Clocks& clocks = fixed.maxClocksMHz;
    return fmt::format("GPU {}: {}\n", fixed.first.index, Text(fixed.first.name)) +
           Line("PCI bus id", pci ? Harmless(pci->busId) : kNotRead) +
           Line("PCI device", pci ? fmt::format("{:04X}, vendor {:04X}", pci->deviceId >> 16,
                                                pci->deviceId & 0xFFFF)
                                  : kNotRead) +
           Line("Serial number", Text(fixed.serial)) +
           Line("VBIOS version", Text(fixed.vbiosVersion)) +
           Line("Driver version", Text(fixed.driverVersion)) +
           Line("Memory", fixed.totalMemoryKiB ? fmt::format("{} MiB", *fixed.totalMemoryKiB / 1024)
                                               : kNotRead) +
           Line("Highest clocks",
                fmt::format("graphics {}, SM {}, memory {}, video {}",
                            ClockText(clocks, kClockGraphics), ClockText(clocks, kClockSm),
                            ClockText(clocks, kClockMemory), ClockText(clocks, kClockVideo)));
}

void CGpuListView::OnEvent(const Event& event, const CMachineModel& model) {
    // Another machine, or this one with other GPUs.
    if (std::holds_alternative<StartEvent>(event.body)) {
        m_gpus.clear();
    }
    if (const auto* fixed = std::get_if<GpuStatic>(&event.body)) {
        m_gpus[model.SourceOf(fixed->first)] = event;
    }
}

void CGpuListView::OnEnd(const CMachineModel& model) {
    std::string text;
    for (const auto& [source, event] : m_gpus) {
        if (m_isJson) {
            text += JsonLine(event, model.Origin()) + "\n";
            continue;
        }
        text += text.empty() ? "" : "\n";
        text += GpuBlock(std::get<GpuStatic>(event.body));
    }
    if (!text.empty()) {
        m_output.Write(text);
    }
}

}  // namespace zorvane
