#include "monitor/machinemodel.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace zorvane {

void CMachineModel::StartWorker(DWORD workerId) {
    *this = CMachineModel();
    m_workerId = workerId;
}

std::string CMachineModel::SourceOf(const GpuReading& reading) {
    // A driver that gives two GPUs one bus id has not told them apart.
    const bool hasBusId = reading.pci && !IsOtherGpus(reading.pci->busId, reading.index);
    const auto known = m_sourceByIndex.find(reading.index);
    if (!hasBusId) {
        // Letters beyond F sort behind every bus id.
        return known != m_sourceByIndex.end() ? known->second
                                              : fmt::format("gpu {:010}", reading.index);
    }
    if (known == m_sourceByIndex.end()) {
        // What came before the first bus id moves along.
        auto row = m_gpus.extract(fmt::format("gpu {:010}", reading.index));
        if (!row.empty()) {
            row.key() = reading.pci->busId;
            m_gpus.insert(std::move(row));
        }
    }
    m_sourceByIndex[reading.index] = reading.pci->busId;
    return reading.pci->busId;
}

bool CMachineModel::IsOtherGpus(const std::string& busId, uint32_t index) const {
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
}

}  // namespace zorvane
