/**
 * Turns what a worker sends into typed values. Pure: nothing here talks to Windows, and no byte
 * behind a payload is ever read.
 *
 * A record marks a reading that failed with a default value. Here such a reading is std::nullopt:
 *
 *   field                     means "not read"
 *   fan speed                 0xFFFFFFFF
 *   temperature               0
 *   total memory              0
 *   a clock                   0; a series of clocks ends at its first failure, so each clock counts
 *                             for itself
 *   name, serial, versions    the empty text
 *   PCI location              all of its numbers 0 and no bus id
 *
 * The utilisations have no such value: an idle GPU honestly reports 0, and a record in which only
 * they could not be read looks the same. They are std::nullopt where nothing at all was read.
 *
 * Numbers are taken as they come; "client/plausible.h" sorts out those that cannot be.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "client/wiretext.h"
#include "zorvane/wire.h"

namespace zorvane {

/** What arrived with one WM_COPYDATA. */
struct Payload {
    /** COPYDATASTRUCT.dwData, whole. */
    uint64_t code = 0;
    /** COPYDATASTRUCT.cbData: the size in bytes that was sent. */
    uint32_t size = 0;
    /** The bytes; fewer than `size` where a receiver did not keep an oversized payload. */
    std::vector<std::byte> bytes;
};

/** The worker has made its window. */
struct Hello {
    std::wstring entry;
    /** Value of the handle of the window that takes kCopyDataStop. */
    uint64_t workerWindow = 0;
};

/** More GPUs than any machine has; a record that claims more is refused. */
inline constexpr uint32_t kMostGpus = 1024;

struct PciLocation {
    uint32_t domain = 0;
    uint32_t bus = 0;
    uint32_t device = 0;
    /** Device id in the high, vendor id in the low 16 bits. */
    uint32_t deviceId = 0;
    /**
     * "domain:bus:device.function" in hexadecimal digits, 4 or 8 for the domain. Made of the
     * numbers where the record has no text of this form: old drivers leave it out, or leave bytes
     * there that mean something else. Tells GPUs apart, across boots too; the index does not.
     */
    WireBytes busId;
};

/** MHz, indexed by kClockGraphics and its neighbours. */
using Clocks = std::array<std::optional<uint32_t>, kClockTypeCount>;

/** One GPU's readings of one cycle. */
struct GpuReading {
    WireText entry;
    uint32_t index = 0;
    uint32_t count = 0;
    std::optional<WireText> name;
    /** An idle GPU reads 0; a record in which nothing was read has neither. */
    std::optional<uint32_t> gpuUtilizationPercent;
    std::optional<uint32_t> memoryUtilizationPercent;
    std::optional<uint32_t> temperatureCelsius;
    /** The intended speed; may be over 100. */
    std::optional<uint32_t> fanSpeedPercent;
    Clocks clocksMHz;
    std::optional<PciLocation> pci;
};

/** What does not change about a GPU; sent once per worker. */
struct GpuStatic {
    /** Readings taken with it. */
    GpuReading first;
    std::optional<uint64_t> totalMemoryKiB;
    std::optional<WireText> serial;
    std::optional<WireText> vbiosVersion;
    std::optional<WireText> driverVersion;
    Clocks maxClocksMHz;
};

struct CpuTemperature {
    int celsius = 0;
};

/** Why a payload was refused, or is suspicious. */
enum class PayloadFault {
    kUnknownCode,
    kWrongSize,
    kNotTerminated,
    kBadRecord,
    kBadText,
    /** Sent from a window of a process that is not the worker's. The payload is accepted anyway. */
    kForeignSender,
    /** A hello that names a window that is not the worker's. */
    kForeignWindow,
    /** A number that no sensor means; the rest of the payload is taken. */
    kImplausible,
};

inline constexpr PayloadFault kLastPayloadFault = PayloadFault::kImplausible;

/** The fault as a short word in lower case, for filters and logs: "wrong_size". */
const char* FaultName(PayloadFault fault);

struct PayloadError {
    PayloadFault fault = PayloadFault::kUnknownCode;
    /** What is wrong and where, in ASCII. */
    std::string text;
};

using Decoded = std::variant<Hello, GpuStatic, GpuReading, CpuTemperature, PayloadError>;

/** Decodes one payload. Any thread. */
Decoded Decode(const Payload& payload);

}  // namespace zorvane
