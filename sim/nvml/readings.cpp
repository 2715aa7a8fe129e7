// Readings of a GPU that are numbers.
#include "sim/nvml/nvmlcall.h"

namespace {

constexpr uint32_t kTemperatureGpu = 0;
constexpr uint32_t kClockIdCurrent = 0;
constexpr uint32_t kClockIds = 4;
constexpr uint32_t kBitsPerMiB = 20;

int32_t AnswerNumber(std::optional<CMovingValue>& value, const NvmlMoment& moment,
                     uint32_t* number) {
    if (!value) {
        return kNvmlNotSupported;
    }
    *number = RoundToUnsigned(value->Read(moment.seconds));
    return kNvmlSuccess;
}

using Clocks = std::array<std::optional<CMovingValue>, kClockTypes>;

int32_t ReadClock(const char* function, Clocks Gpu::*clocks, NvmlDevice device, uint32_t type,
                  uint32_t* clock) {
    return RunReading(
        {function, "type=" + std::to_string(type), clock, sizeof(*clock), type < kClockTypes, type},
        device, [=](Gpu& gpu, NvmlMoment& moment) {
            return AnswerNumber((gpu.*clocks)[type], moment, clock);
        });
}

}  // namespace

int32_t nvmlDeviceGetUtilizationRates(NvmlDevice device, NvmlUtilization* utilization) {
    return RunReading(
        {__func__, "", utilization, sizeof(*utilization)}, device,
        [utilization](Gpu& gpu, NvmlMoment& moment) -> int32_t {
            if (!gpu.gpuUtilization || !gpu.memoryUtilization) {
                return kNvmlNotSupported;
            }
            utilization->gpu = RoundToUnsigned(gpu.gpuUtilization->Read(moment.seconds));
            utilization->memory = RoundToUnsigned(gpu.memoryUtilization->Read(moment.seconds));
            return kNvmlSuccess;
        });
}

int32_t nvmlDeviceGetMemoryInfo(NvmlDevice device, NvmlMemory* memory) {
    return RunReading({__func__, "", memory, sizeof(*memory)}, device,
                      [memory](Gpu& gpu, NvmlMoment&) -> int32_t {
                          if (!gpu.memoryMiB) {
                              return kNvmlNotSupported;
                          }
                          memory->total = *gpu.memoryMiB << kBitsPerMiB;
                          memory->free = memory->total;
                          memory->used = 0;
                          return kNvmlSuccess;
                      });
}

int32_t nvmlDeviceGetTemperature(NvmlDevice device, uint32_t sensor, uint32_t* temperature) {
    return RunReading({__func__, "sensor=" + std::to_string(sensor), temperature,
                       sizeof(*temperature), sensor == kTemperatureGpu},
                      device, [temperature](Gpu& gpu, NvmlMoment& moment) {
                          return AnswerNumber(gpu.temperature, moment, temperature);
                      });
}

int32_t nvmlDeviceGetFanSpeed(NvmlDevice device, uint32_t* speed) {
    return RunReading({__func__, "", speed, sizeof(*speed)}, device,
                      [speed](Gpu& gpu, NvmlMoment& moment) {
                          return AnswerNumber(gpu.fanSpeed, moment, speed);
                      });
}

int32_t nvmlDeviceGetClockInfo(NvmlDevice device, uint32_t type, uint32_t* clock) {
    return ReadClock(__func__, &Gpu::clocks, device, type, clock);
}

int32_t nvmlDeviceGetMaxClockInfo(NvmlDevice device, uint32_t type, uint32_t* clock) {
    return ReadClock(__func__, &Gpu::maxClocks, device, type, clock);
}

int32_t nvmlDeviceGetClock(NvmlDevice device, uint32_t type, uint32_t id, uint32_t* clock) {
    return RunReading({__func__, "type=" + std::to_string(type) + ", id=" + std::to_string(id),
                       clock, sizeof(*clock), type < kClockTypes && id < kClockIds, type},
                      device, [=](Gpu& gpu, NvmlMoment& moment) -> int32_t {
                          if (id != kClockIdCurrent) {
                              return kNvmlNotSupported;
                          }
                          return AnswerNumber(gpu.clocks[type], moment, clock);
                      });
}
