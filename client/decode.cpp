#include "client/decode.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace zorvane {
namespace {

// Longest CPU temperature text: eleven characters, an int with its sign, a brace and the NUL.
constexpr size_t kLongestCpuText = sizeof(R"({"CpuTemp":-2147483648})");

PayloadError WrongSize(const char* what, uint32_t size, size_t expected) {
    return {PayloadFault::kWrongSize, std::string(what) + " of " + std::to_string(size) +
                                          " bytes, expected " + std::to_string(expected)};
}

// Copies a wire structure out of the payload, which may lie at any address; false if it is none.
template <typename T>
bool ReadWhole(const Payload& payload, T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    if (payload.size != sizeof(T) || payload.bytes.size() < sizeof(T)) {
        return false;
    }
    std::memcpy(&value, payload.bytes.data(), sizeof(T));
    return true;
}

template <typename Char>
bool IsTerminated(const Char (&field)[kWireTextLength]) {
    // Almost always the last character is one: the worker fills what is behind a text with zeros.
    return field[kWireTextLength - 1] == Char{} ||
           std::char_traits<Char>::find(field, kWireTextLength, Char{}) != nullptr;
}

// A text field that IsTerminated accepts; empty means not read.
std::optional<WireText> Text(const wchar_t (&field)[kWireTextLength]) {
    if (field[0] == L'\0') {
        return std::nullopt;
    }
    return WireText(field);
}

template <typename Number>
std::optional<Number> UnlessEqual(Number value, Number notRead) {
    if (value == notRead) {
        return std::nullopt;
    }
    return value;
}

Clocks ReadClocks(const uint32_t (&clocks)[kClockTypeCount]) {
    Clocks result;
    std::transform(std::begin(clocks), std::end(clocks), result.begin(),
                   [](uint32_t mhz) { return UnlessEqual(mhz, 0u); });
    return result;
}

bool AreHexDigits(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    });
}

// hhhh:hh:hh.h or hhhhhhhh:hh:hh.h
bool IsBusId(std::string_view text) {
    constexpr size_t kTail = std::string_view(":00:00.0").size();
    if (text.size() != 4 + kTail && text.size() != 8 + kTail) {
        return false;
    }
    const std::string_view domain = text.substr(0, text.size() - kTail);
    const std::string_view tail = text.substr(domain.size());
    return AreHexDigits(domain) && tail[0] == ':' && AreHexDigits(tail.substr(1, 2)) &&
           tail[3] == ':' && AreHexDigits(tail.substr(4, 2)) && tail[6] == '.' &&
           AreHexDigits(tail.substr(7));
}

std::optional<PciLocation> ReadPci(const NvmlGpuRecord& record) {
    const bool anyNumber =
        (record.pciDomain | record.pciBus | record.pciDevice | record.pciDeviceId) != 0;
    const bool hasBusId = IsBusId(record.pciBusId);
    if (!anyNumber && !hasBusId) {
        return std::nullopt;
    }
    PciLocation location{record.pciDomain, record.pciBus, record.pciDevice, record.pciDeviceId,
                         record.pciBusId};
    if (!hasBusId) {
        std::array<char, 48> text{};
        static_cast<void>(std::snprintf(text.data(), text.size(), "%08X:%02X:%02X.0",
                                        record.pciDomain, record.pciBus, record.pciDevice));
        location.busId = text.data();
    }
    return location;
}

void Read(const NvmlGpuRecord& record, GpuReading& reading) {
    reading.entry = record.entry;
    reading.index = record.gpuIndex;
    reading.count = record.gpuCount;
    reading.name = Text(record.name);
    reading.temperatureCelsius = UnlessEqual(record.temperatureCelsius, 0u);
    reading.fanSpeedPercent = UnlessEqual(record.fanSpeedPercent, ZORVANE_FAN_SPEED_UNKNOWN);
    reading.clocksMHz = ReadClocks(record.clockMHz);
    reading.pci = ReadPci(record);
    const bool isAnythingRead = reading.name || reading.temperatureCelsius ||
                                reading.fanSpeedPercent || reading.clocksMHz[0] || reading.pci;
    if (isAnythingRead || record.gpuUtilizationPercent != 0 ||
        record.memoryUtilizationPercent != 0) {
        reading.gpuUtilizationPercent = record.gpuUtilizationPercent;
        reading.memoryUtilizationPercent = record.memoryUtilizationPercent;
    }
}

void Read(const NvmlGpuRecord& record, GpuStatic& fixed) {
    Read(record, fixed.first);
    fixed.totalMemoryKiB = UnlessEqual(record.totalMemoryKiB, uint64_t{0});
    fixed.serial = Text(record.serial);
    fixed.vbiosVersion = Text(record.vbiosVersion);
    fixed.driverVersion = Text(record.driverVersion);
    fixed.maxClocksMHz = ReadClocks(record.maxClockMHz);
}

// Filled where the caller gets it: it is too large to be moved about.
template <typename T>
Decoded Filled(const NvmlGpuRecord& record) {
    Decoded decoded(std::in_place_type<T>);
    Read(record, std::get<T>(decoded));
    return decoded;
}

// The name of the first text field without a terminator; null when all have one.
const char* FirstUnterminated(const NvmlGpuRecord& record) {
    if (!IsTerminated(record.entry)) {
        return "entry";
    }
    if (!IsTerminated(record.name)) {
        return "name";
    }
    if (!IsTerminated(record.serial)) {
        return "serial";
    }
    if (!IsTerminated(record.vbiosVersion)) {
        return "vbiosVersion";
    }
    if (!IsTerminated(record.driverVersion)) {
        return "driverVersion";
    }
    if (!IsTerminated(record.pciBusId)) {
        return "pciBusId";
    }
    return nullptr;
}

Decoded DecodeHello(const Payload& payload) {
    HelloPayload hello;
    if (!ReadWhole(payload, hello)) {
        return WrongSize("hello", payload.size, sizeof(HelloPayload));
    }
    if (!IsTerminated(hello.entry)) {
        return PayloadError{PayloadFault::kNotTerminated, "hello: entry has no terminating NUL"};
    }
    return Hello{hello.entry, hello.hostWnd};
}

Decoded DecodeGpu(const Payload& payload) {
    NvmlGpuRecord record;
    if (!ReadWhole(payload, record)) {
        return WrongSize("GPU record", payload.size, sizeof(NvmlGpuRecord));
    }
    if (const char* field = FirstUnterminated(record)) {
        return PayloadError{PayloadFault::kNotTerminated,
                            std::string("GPU record: ") + field + " has no terminating NUL"};
    }
    if (record.gpuIndex >= record.gpuCount || record.gpuCount > kMostGpus) {
        return PayloadError{PayloadFault::kBadRecord,
                            "GPU record: index " + std::to_string(record.gpuIndex) + " of " +
                                std::to_string(record.gpuCount) + " GPUs"};
    }
    if (record.kind == kGpuRecordStatic) {
        return Filled<GpuStatic>(record);
    }
    if (record.kind == kGpuRecordDynamic) {
        return Filled<GpuReading>(record);
    }
    return PayloadError{PayloadFault::kBadRecord,
                        "GPU record: unknown kind " + std::to_string(record.kind)};
}

// n of exactly {"CpuTemp":n}, n being a JSON whole number that fits an int.
std::optional<int> ParseCpuText(std::string_view text) {
    constexpr std::string_view kPrefix = R"({"CpuTemp":)";
    if (text.substr(0, kPrefix.size()) != kPrefix || text.back() != '}') {
        return std::nullopt;
    }
    const std::string_view number = text.substr(kPrefix.size(), text.size() - kPrefix.size() - 1);
    const std::string_view digits = number.substr(!number.empty() && number.front() == '-' ? 1 : 0);
    if (digits.size() > 1 && digits.front() == '0') {
        return std::nullopt;
    }
    int value = 0;
    const char* end = number.data() + number.size();
    const auto [stop, error] = std::from_chars(number.data(), end, value);
    if (error != std::errc{} || stop != end) {
        return std::nullopt;
    }
    return value;
}

// The text with all but printable ASCII replaced, so that it is safe to show anywhere.
std::string Shown(std::string_view text) {
    std::string shown(text);
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return shown;
}

Decoded DecodeCpu(const Payload& payload) {
    if (payload.size > kLongestCpuText || payload.bytes.size() < payload.size) {
        return PayloadError{PayloadFault::kWrongSize,
                            "CPU temperature text of " + std::to_string(payload.size) +
                                " bytes, expected at most " + std::to_string(kLongestCpuText)};
    }
    std::string text(payload.size, '\0');
    std::transform(payload.bytes.begin(), payload.bytes.begin() + payload.size, text.begin(),
                   [](std::byte byte) { return static_cast<char>(byte); });
    if (text.empty() || text.back() != '\0') {
        return PayloadError{PayloadFault::kNotTerminated, "CPU temperature text of " +
                                                              std::to_string(payload.size) +
                                                              " bytes has no terminating NUL"};
    }
    text.pop_back();
    if (const auto celsius = ParseCpuText(text)) {
        return CpuTemperature{*celsius};
    }
    return PayloadError{PayloadFault::kBadText,
                        "CPU temperature text is not {\"CpuTemp\":n}: " + Shown(text)};
}

}  // namespace

const char* FaultName(PayloadFault fault) {
    switch (fault) {
        case PayloadFault::kUnknownCode:
            return "unknown_code";
        case PayloadFault::kWrongSize:
            return "wrong_size";
        case PayloadFault::kNotTerminated:
            return "not_terminated";
        case PayloadFault::kBadRecord:
            return "bad_record";
        case PayloadFault::kBadText:
            return "bad_text";
        case PayloadFault::kForeignSender:
            return "foreign_sender";
        case PayloadFault::kForeignWindow:
            return "foreign_window";
        case PayloadFault::kImplausible:
            return "implausible";
    }
    return "unknown";
}

Decoded Decode(const Payload& payload) {
    switch (payload.code) {
        case kCopyDataHello:
            return DecodeHello(payload);
        case kCopyDataTaskData:
            return DecodeGpu(payload);
        case kCopyDataStop:
            return DecodeCpu(payload);
        default:
            return PayloadError{PayloadFault::kUnknownCode,
                                "unknown code " + std::to_string(payload.code) + " with " +
                                    std::to_string(payload.size) + " bytes"};
    }
}

}  // namespace zorvane
