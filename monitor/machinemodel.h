/** What is known of the machine at a moment. */
#pragma once

#include <windows.h>

#include <map>
#include <optional>
#include <set>
#include <string>

#include "client/decode.h"

namespace zorvane {

/** The source that the CPU temperature is. */
inline const std::string kCpuSource = "cpu";

struct GpuRow {
    std::optional<GpuStatic> fixed;
    std::optional<GpuReading> latest;
};

/**
 * GPUs are kept by their PCI bus id, because their index may differ from boot to boot. While a
 * worker runs an index stays with its GPU, so a record without a PCI location still finds its row.
 */
class CMachineModel {
  public:
    /** A new worker: forgets everything. */
    void StartWorker(DWORD workerId);

    /** The source that a GPU's reading comes from; sorts by bus id. */
    std::string SourceOf(const GpuReading& reading);

    void Apply(const Hello& hello) { m_hello = hello; }
    void Apply(const GpuStatic& fixed) { m_gpus[SourceOf(fixed.first)].fixed = fixed; }
    void Apply(const GpuReading& reading) { m_gpus[SourceOf(reading)].latest = reading; }
    void Apply(const CpuTemperature& temperature) { m_cpu = temperature; }

    /** Forgets the readings of every other source: it has fallen silent. */
    void KeepOnly(const std::set<std::string>& sources);

    DWORD WorkerId() const { return m_workerId; }
    const std::optional<Hello>& WorkerHello() const { return m_hello; }
    /** By source, so in the order of the bus ids. */
    const std::map<std::string, GpuRow>& Gpus() const { return m_gpus; }
    const std::optional<CpuTemperature>& Cpu() const { return m_cpu; }

  private:
    bool IsOtherGpus(const std::string& busId, uint32_t index) const;

    DWORD m_workerId = 0;
    std::optional<Hello> m_hello;
    std::map<std::string, GpuRow> m_gpus;
    std::map<uint32_t, std::string> m_sourceByIndex;
    std::optional<CpuTemperature> m_cpu;
};

}  // namespace zorvane
