#include "client/plausible.h"

#include <string>

namespace zorvane {
namespace {

// The highest number that a field may have. Generous: what lies above is an error value, a wrapped
// negative or memory that nobody wrote, never a machine that is merely extreme.
struct Limit {
    const char* field;
    uint64_t highest;
};

constexpr Limit kGpuUtilization{"gpu utilization %", 100};
constexpr Limit kMemoryUtilization{"memory utilization %", 100};
constexpr Limit kGpuTemperature{"temperature C", 150};
// Fans run above their nominal speed, but not at twice it.
constexpr Limit kFanSpeed{"fan speed %", 200};
constexpr Limit kTotalMemory{"total memory KiB", uint64_t{16} << 30};
constexpr Limit kClock[] = {{"graphics clock MHz", 50000},
                            {"SM clock MHz", 50000},
                            {"memory clock MHz", 50000},
                            {"video clock MHz", 50000}};
constexpr Limit kMaxClock[] = {{"maximum graphics clock MHz", 50000},
                               {"maximum SM clock MHz", 50000},
                               {"maximum memory clock MHz", 50000},
                               {"maximum video clock MHz", 50000}};
static_assert(std::size(kClock) == kClockTypeCount && std::size(kMaxClock) == kClockTypeCount);

// Below the first lies only a sensor that failed: AMD's library turns NaN into -2147483648.
constexpr int kLowestCpuCelsius = -100;
constexpr int kHighestCpuCelsius = 150;

class CDoubts {
  public:
    template <typename T>
    void Check(const Limit& limit, std::optional<T>& value) {
        if (!value || *value <= limit.highest) {
            return;
        }
        m_text +=
            (m_text.empty() ? "" : ", ") + std::string(limit.field) + " " + std::to_string(*value);
        value.reset();
    }

    void Check(const Limit (&limits)[kClockTypeCount], Clocks& clocks) {
        for (size_t type = 0; type < clocks.size(); ++type) {
            Check(limits[type], clocks[type]);
        }
    }

    void CheckReadings(GpuReading& reading) {
        Check(kGpuUtilization, reading.gpuUtilizationPercent);
        Check(kMemoryUtilization, reading.memoryUtilizationPercent);
        Check(kGpuTemperature, reading.temperatureCelsius);
        Check(kFanSpeed, reading.fanSpeedPercent);
        Check(kClock, reading.clocksMHz);
    }

    std::optional<PayloadError> Error(uint32_t gpuIndex) const {
        if (m_text.empty()) {
            return std::nullopt;
        }
        return PayloadError{
            PayloadFault::kImplausible,
            "GPU " + std::to_string(gpuIndex) + " reports numbers that cannot be: " + m_text};
    }

  private:
    std::string m_text;
};

}  // namespace

std::optional<PayloadError> RemoveImplausible(GpuReading& reading) {
    CDoubts doubts;
    doubts.CheckReadings(reading);
    return doubts.Error(reading.index);
}

std::optional<PayloadError> RemoveImplausible(GpuStatic& fixed) {
    CDoubts doubts;
    doubts.CheckReadings(fixed.first);
    doubts.Check(kTotalMemory, fixed.totalMemoryKiB);
    doubts.Check(kMaxClock, fixed.maxClocksMHz);
    return doubts.Error(fixed.first.index);
}

std::optional<PayloadError> CheckPlausible(const CpuTemperature& temperature) {
    if (temperature.celsius >= kLowestCpuCelsius && temperature.celsius <= kHighestCpuCelsius) {
        return std::nullopt;
    }
    return PayloadError{PayloadFault::kImplausible,
                        "the CPU reports a temperature that cannot be: " +
                            std::to_string(temperature.celsius) + " C"};
}

}  // namespace zorvane
