#include "monitor/metrics/metrics.h"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <iterator>
#include <set>

#include "base/text.h"

namespace zorvane {
namespace {

// The samples of one family; adds the labels that all samples of a worker or a GPU have.
class CSamples {
  public:
    explicit CSamples(std::string worker) : m_worker(std::move(worker)) {}

    void Add(double value, MetricLabels labels = {}) {
        labels.insert(labels.begin(), {"worker", m_worker});
        m_samples.push_back({std::move(labels), value});
    }

    void AddGpu(const GpuRow& row, double value, MetricLabels labels = {}) {
        labels.insert(labels.begin(), {"pci_bus_id", row.Label()});
        Add(value, std::move(labels));
    }

    std::vector<MetricSample> Take() { return std::move(m_samples); }

  private:
    const std::string m_worker;
    std::vector<MetricSample> m_samples;
};

double Seconds(UtcTime time) { return static_cast<double>(time.time_since_epoch().count()) / 1000; }

// What did not come from the worker that runs now is not known of the machine any more.
template <typename Function>
void ForEachGpu(const CMachineModel& model, Function function) {
    if (!model.IsWorkerUp()) {
        return;
    }
    for (const auto& [source, row] : model.Gpus()) {
        function(row);
    }
}

template <auto kMember>
void AddPercentAsRatio(const CMachineModel& model, CSamples& samples) {
    ForEachGpu(model, [&](const GpuRow& row) {
        if (row.latest && (*row.latest).*kMember) {
            samples.AddGpu(row, *((*row.latest).*kMember) / 100.0);
        }
    });
}

void AddClocks(const GpuRow& row, const Clocks& clocks, CSamples& samples) {
    constexpr std::array<const char*, kClockTypeCount> kNames = {"graphics", "sm", "memory",
                                                                 "video"};
    for (size_t type = 0; type < kNames.size(); ++type) {
        if (clocks[type]) {
            samples.AddGpu(row, *clocks[type] * 1e6, {{"clock", kNames[type]}});
        }
    }
}

void AddUp(const CMachineModel& model, CSamples& samples) {
    samples.Add(model.IsWorkerUp() && model.WorkerHello() && !model.StaleSince() ? 1 : 0);
}

void AddStartTime(const CMachineModel& model, CSamples& samples) {
    if (model.IsWorkerUp()) {
        samples.Add(Seconds(model.WorkerStart()));
    }
}

void AddCrashes(const CMachineModel& model, CSamples& samples) {
    for (const auto& [code, count] : model.Totals().Crashes()) {
        samples.Add(static_cast<double>(count), {{"exit_code", fmt::format("0x{:08X}", code)}});
    }
}

void AddMessages(const CMachineModel& model, CSamples& samples) {
    for (const auto& [type, count] : model.Totals().Messages()) {
        samples.Add(static_cast<double>(count), {{"type", type}});
    }
}

void AddErrors(const CMachineModel& model, CSamples& samples) {
    for (const auto& [cause, count] : model.Totals().Errors()) {
        samples.Add(static_cast<double>(count), {{"cause", cause}});
    }
}

void AddMissing(const CMachineModel& model, CSamples& samples) {
    // One reason may keep both GPUs and CPU from being read.
    std::set<std::string> ids;
    for (const auto& [what, missing] : model.Missing()) {
        if (ids.insert(missing.id).second) {
            samples.Add(1, {{"id", missing.id}});
        }
    }
}

void AddLastReadings(const CMachineModel& model, CSamples& samples) {
    for (const auto& [source, time] : model.Totals().LastReadings()) {
        samples.Add(Seconds(time), {{"source", source}});
    }
}

void AddGpuInfo(const CMachineModel& model, CSamples& samples) {
    const auto text = [](const std::optional<WireText>& value) {
        return value ? ToUtf8(*value) : "";
    };
    ForEachGpu(model, [&](const GpuRow& row) {
        if (!row.fixed) {
            return;
        }
        const GpuReading& first = row.fixed->first;
        samples.AddGpu(
            row, 1,
            {{"name", text(first.name)},
             {"serial", text(row.fixed->serial)},
             {"vbios_version", text(row.fixed->vbiosVersion)},
             {"driver_version", text(row.fixed->driverVersion)},
             {"pci_device_id", first.pci ? fmt::format("0x{:08X}", first.pci->deviceId) : ""}});
    });
}

void AddGpuTemperatures(const CMachineModel& model, CSamples& samples) {
    ForEachGpu(model, [&](const GpuRow& row) {
        if (row.latest && row.latest->temperatureCelsius) {
            samples.AddGpu(row, *row.latest->temperatureCelsius);
        }
    });
}

void AddCpuTemperature(const CMachineModel& model, CSamples& samples) {
    if (model.Cpu()) {
        samples.Add(model.Cpu()->temperature.celsius);
    }
}

void AddMemorySizes(const CMachineModel& model, CSamples& samples) {
    ForEachGpu(model, [&](const GpuRow& row) {
        if (row.fixed && row.fixed->totalMemoryKiB) {
            samples.AddGpu(row, static_cast<double>(*row.fixed->totalMemoryKiB) * 1024);
        }
    });
}

struct Metric {
    const char* name;
    MetricType type;
    const char* help;
    void (*add)(const CMachineModel& model, CSamples& samples);
};

constexpr Metric kMetrics[] = {
    {"zorvane_build_info", MetricType::kGauge, "Version of zorvanemon",
     [](const CMachineModel& model, CSamples& samples) {
         samples.Add(1, {{"version", model.Start() ? model.Start()->toolVersion : ""}});
     }},
    {"zorvane_up", MetricType::kGauge, "Whether a worker runs and reports", &AddUp},
    {"zorvane_paused", MetricType::kGauge,
     "Whether no worker runs because the computer runs on battery",
     [](const CMachineModel& model, CSamples& samples) { samples.Add(model.IsPaused() ? 1 : 0); }},
    {"zorvane_worker_start_time_seconds", MetricType::kGauge,
     "When the worker that runs was started, in seconds since 1970", &AddStartTime},
    {"zorvane_worker_restarts_total", MetricType::kCounter,
     "Workers that were started in place of one that had ended",
     [](const CMachineModel& model, CSamples& samples) {
         samples.Add(static_cast<double>(model.Totals().Restarts()));
     }},
    {"zorvane_worker_crashes_total", MetricType::kCounter, "Workers that crashed", &AddCrashes},
    {"zorvane_messages_total", MetricType::kCounter, "Messages from the worker", &AddMessages},
    {"zorvane_errors_total", MetricType::kCounter, "What arrived and was not a reading",
     &AddErrors},
    {"zorvane_missing", MetricType::kGauge, "A reason why something is not read", &AddMissing},
    {"zorvane_last_reading_timestamp_seconds", MetricType::kGauge,
     "When a source was last read, in seconds since 1970", &AddLastReadings},
    {"zorvane_gpu_info", MetricType::kGauge, "What does not change about a GPU", &AddGpuInfo},
    {"zorvane_gpu_utilization_ratio", MetricType::kGauge, "Share of time in which the GPU was busy",
     &AddPercentAsRatio<&GpuReading::gpuUtilizationPercent>},
    {"zorvane_gpu_memory_utilization_ratio", MetricType::kGauge,
     "Share of time in which the GPU's memory was busy",
     &AddPercentAsRatio<&GpuReading::memoryUtilizationPercent>},
    {"zorvane_gpu_fan_speed_ratio", MetricType::kGauge,
     "Intended fan speed; 1 is the highest regular one, which it may exceed",
     &AddPercentAsRatio<&GpuReading::fanSpeedPercent>},
    {"zorvane_gpu_temperature_celsius", MetricType::kGauge, "Temperature of the GPU",
     &AddGpuTemperatures},
    {"zorvane_cpu_temperature_celsius", MetricType::kGauge, "Temperature of the CPU",
     &AddCpuTemperature},
    {"zorvane_gpu_memory_size_bytes", MetricType::kGauge, "Size of the GPU's memory",
     &AddMemorySizes},
    {"zorvane_gpu_clock_hertz", MetricType::kGauge, "Clock frequency",
     [](const CMachineModel& model, CSamples& samples) {
         ForEachGpu(model, [&](const GpuRow& row) {
             if (row.latest) {
                 AddClocks(row, row.latest->clocksMHz, samples);
             }
         });
     }},
    {"zorvane_gpu_clock_max_hertz", MetricType::kGauge, "Highest clock frequency",
     [](const CMachineModel& model, CSamples& samples) {
         ForEachGpu(model, [&](const GpuRow& row) {
             if (row.fixed) {
                 AddClocks(row, row.fixed->maxClocksMHz, samples);
             }
         });
     }},
};

}  // namespace

std::vector<MetricFamily> MetricsOf(const CMachineModel& model) {
    std::vector<MetricFamily> families;
    families.reserve(std::size(kMetrics));
    for (const Metric& metric : kMetrics) {
        CSamples samples(model.Start() ? model.Start()->entry : "");
        metric.add(model, samples);
        families.push_back({metric.name, metric.help, metric.type, samples.Take()});
    }
    return families;
}

}  // namespace zorvane
