/** What is known about the machine. */
#pragma once

#include <windows.h>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "monitor/event.h"
#include "monitor/model/history.h"
#include "monitor/model/runtotals.h"

namespace zorvane {

/** The name of the CPU temperature as a source. */
inline const std::string kCpuSource = "cpu";

struct GpuRow {
    /** From 0; stays with the GPU while its worker runs. */
    uint32_t index = 0;
    /** As the record has it; empty where two GPUs have the same, or this one has none. */
    std::optional<std::string> busId;
    std::optional<GpuStatic> fixed;
    std::optional<GpuReading> latest;
    /** When `latest` came. */
    UtcTime time{};
    bool isLost = false;

    /** For people: the bus id, or "index N" where there is none. */
    std::string Label() const;
};

/** The last minute of a source; of the CPU, the temperature only. */
struct SourceHistory {
    CLastMinute temperature;
    CLastMinute utilization;
};

struct CpuRow {
    CpuTemperature temperature;
    UtcTime time{};
};

/**
 * GPUs are kept by their PCI bus id, because their index may differ from boot to boot. While a
 * worker runs an index stays with its GPU, so a record without a PCI location still finds its row.
 * A reading is here only while it is current: not when its worker has ended, or its source or the
 * worker has fallen silent.
 */
class CMachineModel {
  public:
    void Apply(const Event& event);

    /** The source that a GPU's reading comes from; sorts by bus id. */
    std::string SourceOf(const GpuReading& reading) const;

    /** Forgets the readings of every other source: it has fallen silent. */
    void KeepOnly(const std::set<std::string>& sources);

    /** Where the run's readings come from; empty before the StartEvent. */
    const std::optional<StartEvent>& Start() const { return m_start; }
    /** Start(), an empty one before it has come. */
    const StartEvent& Origin() const;

    /** 0: no worker has been started. It may have ended. */
    DWORD WorkerId() const { return m_workerId; }
    bool IsWorkerUp() const { return m_isWorkerUp; }
    /** When that worker was started. */
    UtcTime WorkerStart() const { return m_workerStart; }
    const std::optional<Hello>& WorkerHello() const { return m_hello; }

    /** By source, so in the order of the bus ids. */
    const std::map<std::string, GpuRow>& Gpus() const { return m_gpus; }
    const std::optional<CpuRow>& Cpu() const { return m_cpu; }

    /** Why something is missing, by what is missing. */
    const std::map<std::string, MissingEvent>& Missing() const { return m_missing; }

    /** The history of a source of readings; empty if it has none. A new worker goes on with it. */
    const SourceHistory* HistoryOf(const std::string& source) const;

    /** Whether a reading is over its threshold; `index` is the GPU's, or empty: of none. */
    bool IsOver(const std::string& what, std::optional<uint32_t> index) const {
        return m_over.contains({what, index});
    }

    /** Since when no reading has come, while the worker is silent. */
    const std::optional<UtcTime>& StaleSince() const { return m_staleSince; }

    /** Whether no worker runs because the computer runs on battery. */
    bool IsPaused() const { return m_isPaused; }

    /** What was counted since the StartEvent, over all workers. */
    const CRunTotals& Totals() const { return m_totals; }

    /**
     * The time to show beside the readings: that of the oldest one, so that no reading is shown
     * under a later time than its own. Without readings, the time of the last event.
     */
    UtcTime Time() const;

  private:
    void ApplyBody(const StartEvent& start, UtcTime time);
    void ApplyBody(const WorkerStartEvent& start, UtcTime time);
    void ApplyBody(const HelloEvent& hello, UtcTime time);
    void ApplyBody(const GpuStatic& fixed, UtcTime time);
    void ApplyBody(const GpuReading& reading, UtcTime time);
    void ApplyBody(const CpuTemperature& temperature, UtcTime time);
    void ApplyBody(const CpuUnreadEvent& unread, UtcTime time);
    void ApplyBody(const MissingEvent& missing, UtcTime time);
    void ApplyBody(const StaleEvent& stale, UtcTime time);
    void ApplyBody(const FreshEvent& fresh, UtcTime time);
    void ApplyBody(const GpuLostEvent& lost, UtcTime time);
    void ApplyBody(const GpuBackEvent& back, UtcTime time);
    void ApplyBody(const WarningEvent& warning, UtcTime time);
    void ApplyBody(const ExitEvent& exit, UtcTime time);
    void ApplyBody(const PausedEvent& paused, UtcTime time);
    void ApplyBody(const ResumedEvent& resumed, UtcTime time);
    template <typename T>
    void ApplyBody(const T&, UtcTime) {}

    GpuRow& RowOf(const GpuReading& reading);
    void SetLost(const GpuId& gpu, bool isLost);
    bool IsOtherGpus(std::string_view busId, uint32_t index) const;

    std::optional<StartEvent> m_start;
    DWORD m_workerId = 0;
    bool m_isWorkerUp = false;
    UtcTime m_workerStart{};
    std::optional<Hello> m_hello;
    std::map<std::string, GpuRow> m_gpus;
    std::map<uint32_t, std::string> m_sourceByIndex;
    /** Indices of the GPUs that are lost. */
    std::set<uint32_t> m_lost;
    std::optional<CpuRow> m_cpu;
    std::map<std::string, MissingEvent> m_missing;
    std::map<std::string, SourceHistory> m_histories;
    /** What is over its threshold, with the GPU's index. */
    std::set<std::pair<std::string, std::optional<uint32_t>>> m_over;
    std::optional<UtcTime> m_staleSince;
    bool m_isPaused = false;
    UtcTime m_lastEvent{};
    CRunTotals m_totals;
};

}  // namespace zorvane
