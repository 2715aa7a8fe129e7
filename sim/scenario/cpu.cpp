#include "sim/scenario/cpu.h"

#include "base/text.h"
#include "sim/scenario/platformfunctions.h"
#include "sim/scenario/readvalue.h"

namespace {

constexpr size_t kVendorLength = 12;
constexpr int64_t kHighestPackageType = 15;

std::string ReadVendor(const CJsonPlace& place) {
    std::string vendor = place.Text();
    if (vendor.size() != kVendorLength) {
        place.Fail("a text of 12 characters");
    }
    return vendor;
}

DeviceReading ReadDeviceReading(const CJsonPlace& place, std::string_view valueKey) {
    DeviceReading reading;
    place.ReadMembers({
        {"status", [&](const CJsonPlace& value) { reading.status = ReadMovingValue(value); }},
        {valueKey, [&](const CJsonPlace& value) { reading.value = ReadMovingValue(value); }},
    });
    return reading;
}

std::optional<DeviceReading> ReadOffset(const CJsonPlace& place) {
    if (place.IsNull()) {
        return std::nullopt;
    }
    return ReadDeviceReading(place, "value");
}

// Codes are set by the keys of the readings; what is left for results is to hang and to crash.
std::vector<ResultFunction> PlatformFunctions() {
    std::vector<ResultFunction> functions;
    for (const char* name : kPlatformFunctions) {
        functions.push_back({.name = name, .returnsCode = false});
    }
    return functions;
}

}  // namespace

Cpu ReadCpu(const CJsonPlace& place) {
    Cpu cpu;
    place.ReadMembers({
        {"vendor", [&](const CJsonPlace& value) { cpu.vendor = ReadVendor(value); }},
        {"signature", [&](const CJsonPlace& value) { cpu.signature = value.Unsigned(); }},
        {"packageType",
         [&](const CJsonPlace& value) {
             cpu.packageType = static_cast<uint32_t>(value.Integer(0, kHighestPackageType));
         }},
        {"name",
         [&](const CJsonPlace& value) {
             cpu.name = zorvane::ToWide(ReadOptionalText(value).value_or(""));
         }},
        {"platformInit", [&](const CJsonPlace& value) { cpu.platformInit = value.Boolean(); }},
        {"needsDriver", [&](const CJsonPlace& value) { cpu.needsDriver = value.Boolean(); }},
        {"device", [&](const CJsonPlace& value) { cpu.device = value.Boolean(); }},
        {"pmTable",
         [&](const CJsonPlace& value) { cpu.pmTable = ReadDeviceReading(value, "temperature"); }},
        {"currentTemperature",
         [&](const CJsonPlace& value) {
             cpu.currentTemperature = ReadDeviceReading(value, "temperature");
         }},
        {"results",
         [&](const CJsonPlace& value) { cpu.results = ReadResults(value, PlatformFunctions()); }},
        {"offset", [&](const CJsonPlace& value) { cpu.offset = ReadOffset(value); }},
    });
    return cpu;
}
