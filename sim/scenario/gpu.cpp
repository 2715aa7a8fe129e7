#include "sim/scenario/gpu.h"

#include <fmt/format.h>

#include "sim/scenario/nvmlfunctions.h"
#include "sim/scenario/readvalue.h"

namespace {

constexpr size_t kBusIdLength = 31;
constexpr size_t kLegacyBusIdLength = 15;

void ReadClocks(const CJsonPlace& place,
                std::array<std::optional<CMovingValue>, kClockTypes>& clocks) {
    const std::vector<CJsonPlace> items = place.Items(kClockTypes);
    for (size_t type = 0; type < kClockTypes; ++type) {
        clocks[type] = ReadOptionalValue(items[type]);
    }
}

void ReadUtilization(const CJsonPlace& place, Gpu& gpu) {
    if (place.IsNull()) {
        return;
    }
    if (!place.Has("gpu") || !place.Has("memory")) {
        place.Fail(R"(null or an object with "gpu" and "memory")");
    }
    place.ReadMembers({
        {"gpu", [&](const CJsonPlace& value) { gpu.gpuUtilization = ReadMovingValue(value); }},
        {"memory",
         [&](const CJsonPlace& value) { gpu.memoryUtilization = ReadMovingValue(value); }},
    });
}

std::optional<uint64_t> ReadMemory(const CJsonPlace& place) {
    if (place.IsNull()) {
        return std::nullopt;
    }
    return static_cast<uint64_t>(place.Integer(0, int64_t{1} << 43));
}

std::string ReadBusId(const CJsonPlace& place) {
    std::string text = ReadOptionalText(place).value_or("");
    if (text.size() > kBusIdLength) {
        place.Complain("a bus id has at most 31 characters");
    }
    return text;
}

// "00000000:01:00.0" with eight digits of domain, "0000:01:00.0" with four.
std::string FormatBusId(const Gpu& gpu, int domainDigits) {
    return fmt::format("{:0{}X}:{:02X}:{:02X}.0", gpu.domain, domainDigits, gpu.bus, gpu.device);
}

}  // namespace

Gpu ReadGpu(const CJsonPlace& place) {
    Gpu gpu;
    place.ReadMembers({
        {"name", [&](const CJsonPlace& value) { gpu.name = ReadOptionalText(value).value_or(""); }},
        {"serial", [&](const CJsonPlace& value) { gpu.serial = ReadOptionalText(value); }},
        {"vbios", [&](const CJsonPlace& value) { gpu.vbios = ReadOptionalText(value); }},
        {"boardPartNumber",
         [&](const CJsonPlace& value) { gpu.boardPartNumber = ReadOptionalText(value); }},
        {"busId", [&](const CJsonPlace& value) { gpu.busId = ReadBusId(value); }},
        {"domain", [&](const CJsonPlace& value) { gpu.domain = value.Unsigned(); }},
        {"bus", [&](const CJsonPlace& value) { gpu.bus = value.Unsigned(); }},
        {"device", [&](const CJsonPlace& value) { gpu.device = value.Unsigned(); }},
        {"permission", [&](const CJsonPlace& value) { gpu.permission = value.Boolean(); }},
        {"deviceId", [&](const CJsonPlace& value) { gpu.deviceId = value.Unsigned(); }},
        {"subsystemId", [&](const CJsonPlace& value) { gpu.subsystemId = value.Unsigned(); }},
        {"memoryMiB", [&](const CJsonPlace& value) { gpu.memoryMiB = ReadMemory(value); }},
        {"utilization", [&](const CJsonPlace& value) { ReadUtilization(value, gpu); }},
        {"temperature",
         [&](const CJsonPlace& value) { gpu.temperature = ReadOptionalValue(value); }},
        {"fanSpeed", [&](const CJsonPlace& value) { gpu.fanSpeed = ReadOptionalValue(value); }},
        {"clocks", [&](const CJsonPlace& value) { ReadClocks(value, gpu.clocks); }},
        {"maxClocks", [&](const CJsonPlace& value) { ReadClocks(value, gpu.maxClocks); }},
        {"results",
         [&](const CJsonPlace& value) { gpu.results = ReadResults(value, NvmlGpuFunctions()); }},
        {"fault", [&](const CJsonPlace& value) { gpu.fault = ReadFault(value); }},
    });
    if (!place.Has("name")) {
        place.Complain("a GPU needs \"name\"");
    }
    gpu.legacyBusId = FormatBusId(gpu, 4).substr(0, kLegacyBusIdLength);
    if (gpu.busId.empty()) {
        gpu.busId = FormatBusId(gpu, 8);
    }
    return gpu;
}
