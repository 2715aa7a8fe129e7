#include "monitor/model/machinemodel.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace zorvane {
namespace {

// Letters after F, so that it sorts after every bus id.
std::string SourceOfIndex(uint32_t index) { return fmt::format("gpu {:010}", index); }

}  // namespace

std::string GpuRow::Label() const { return busId ? *busId : fmt::format("index {}", index); }

const StartEvent& CMachineModel::Origin() const {
    static const StartEvent empty;
    return m_start ? *m_start : empty;
}

void CMachineModel::Apply(const Event& event) {
    m_lastEvent = event.time;
    std::visit([&](const auto& body) { ApplyBody(body, event.time); }, event.body);
    m_totals.Add(event);
}

std::string CMachineModel::SourceOf(const GpuReading& reading) const {
    // Some drivers give two GPUs the same bus id: then only the index tells them apart.
    if (reading.pci && !IsOtherGpus(reading.pci->busId, reading.index)) {
        return reading.pci->busId.str();
    }
    const auto known = m_sourceByIndex.find(reading.index);
    return known != m_sourceByIndex.end() ? known->second : SourceOfIndex(reading.index);
}

GpuRow& CMachineModel::RowOf(const GpuReading& reading) {
    const std::string source = SourceOf(reading);
    const bool hasBusId = reading.pci && reading.pci->busId == source;
    if (hasBusId && !m_sourceByIndex.contains(reading.index)) {
        // Keep the row that this GPU had before its bus id was known.
        auto row = m_gpus.extract(SourceOfIndex(reading.index));
        if (!row.empty()) {
            row.key() = source;
            m_gpus.insert(std::move(row));
            auto history = m_histories.extract(SourceOfIndex(reading.index));
            if (!history.empty()) {
                history.key() = source;
                m_histories.insert(std::move(history));
            }
        }
    }
    GpuRow& row = m_gpus[source];
    row.index = reading.index;
    row.isLost = m_lost.contains(reading.index);
    if (hasBusId) {
        m_sourceByIndex[reading.index] = source;
        row.busId = source;
    }
    return row;
}

bool CMachineModel::IsOtherGpus(std::string_view busId, uint32_t index) const {
    return std::any_of(m_sourceByIndex.begin(), m_sourceByIndex.end(), [&](const auto& known) {
        return known.second == busId && known.first != index;
    });
}

void CMachineModel::KeepOnly(const std::set<std::string>& sources) {
    for (auto& [source, row] : m_gpus) {
        if (!sources.contains(source)) {
            row.latest.reset();
        }
    }
    if (!sources.contains(kCpuSource)) {
        m_cpu.reset();
    }
    for (auto& [source, history] : m_histories) {
        if (!sources.contains(source)) {
            history.temperature.AddGap();
            history.utilization.AddGap();
        }
    }
}

const SourceHistory* CMachineModel::HistoryOf(const std::string& source) const {
    const auto found = m_histories.find(source);
    return found == m_histories.end() ? nullptr : &found->second;
}

UtcTime CMachineModel::Time() const {
    std::optional<UtcTime> oldest;
    const auto add = [&oldest](UtcTime time) { oldest = oldest ? std::min(*oldest, time) : time; };
    for (const auto& [source, row] : m_gpus) {
        if (row.latest) {
            add(row.time);
        }
    }
    if (m_cpu) {
        add(m_cpu->time);
    }
    return oldest.value_or(m_lastEvent);
}

void CMachineModel::ApplyBody(const StartEvent& start, UtcTime time) {
    *this = CMachineModel();
    m_start = start;
    m_lastEvent = time;
}

void CMachineModel::ApplyBody(const WorkerStartEvent& start, UtcTime time) {
    CMachineModel fresh;
    fresh.m_start = std::move(m_start);
    fresh.m_histories = std::move(m_histories);
    fresh.m_over = std::move(m_over);
    fresh.m_totals = std::move(m_totals);
    *this = std::move(fresh);
    m_workerId = start.workerId;
    m_workerStart = time;
    m_isWorkerUp = true;
    m_lastEvent = time;
}

void CMachineModel::ApplyBody(const HelloEvent& hello, UtcTime) { m_hello = hello.hello; }

void CMachineModel::ApplyBody(const GpuStatic& fixed, UtcTime) {
    m_missing.erase("gpu");
    RowOf(fixed.first).fixed = fixed;
}

void CMachineModel::ApplyBody(const GpuReading& reading, UtcTime time) {
    m_missing.erase("gpu");
    GpuRow& row = RowOf(reading);
    row.latest = reading;
    row.time = time;
    SourceHistory& history = m_histories[SourceOf(reading)];
    history.temperature.Add(time, reading.temperatureCelsius);
    history.utilization.Add(time, reading.gpuUtilizationPercent);
    m_totals.AddReading(row.Label(), time);
}

void CMachineModel::ApplyBody(const CpuTemperature& temperature, UtcTime time) {
    m_missing.erase(kCpuSource);
    m_cpu = CpuRow{temperature, time};
    m_histories[kCpuSource].temperature.Add(time, temperature.celsius);
    m_totals.AddReading(kCpuSource, time);
}

void CMachineModel::ApplyBody(const CpuUnreadEvent&, UtcTime) { m_cpu.reset(); }

void CMachineModel::ApplyBody(const MissingEvent& missing, UtcTime) {
    m_missing[missing.what] = missing;
}

void CMachineModel::ApplyBody(const StaleEvent& stale, UtcTime) {
    m_staleSince = stale.since;
    KeepOnly({});
}

void CMachineModel::ApplyBody(const FreshEvent&, UtcTime) { m_staleSince.reset(); }

void CMachineModel::ApplyBody(const GpuLostEvent& lost, UtcTime) { SetLost(lost.gpu, true); }

void CMachineModel::ApplyBody(const GpuBackEvent& back, UtcTime) { SetLost(back.gpu, false); }

void CMachineModel::ApplyBody(const WarningEvent& warning, UtcTime) {
    std::optional<uint32_t> index;
    if (warning.gpu) {
        index = warning.gpu->index;
    }
    if (warning.over) {
        m_over.emplace(warning.what, index);
    } else {
        m_over.erase({warning.what, index});
    }
}

void CMachineModel::ApplyBody(const ExitEvent&, UtcTime) {
    m_isWorkerUp = false;
    m_staleSince.reset();
    KeepOnly({});
}

void CMachineModel::ApplyBody(const PausedEvent&, UtcTime) { m_isPaused = true; }

void CMachineModel::ApplyBody(const ResumedEvent&, UtcTime) { m_isPaused = false; }

// The event comes before the reading that shows it, which may be the GPU's first.
void CMachineModel::SetLost(const GpuId& gpu, bool isLost) {
    if (isLost) {
        m_lost.insert(gpu.index);
    } else {
        m_lost.erase(gpu.index);
    }
    for (auto& [source, row] : m_gpus) {
        if (row.index == gpu.index) {
            row.isLost = isLost;
        }
    }
}

}  // namespace zorvane
