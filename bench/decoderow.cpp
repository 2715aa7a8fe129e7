#include <cstring>
#include <variant>

#include "bench/rows.h"
#include "bench/samplerecord.h"
#include "bench/samples.h"
#include "client/decode.h"
#include "client/plausible.h"
#include "client/workersession.h"

namespace {

constexpr unsigned kRepetitions = 60;
constexpr unsigned kRecords = 20000;

zorvane::Payload DynamicPayload() {
    const NvmlGpuRecord record = SampleRecord(0, 1);
    const auto* bytes = reinterpret_cast<const std::byte*>(&record);
    return {kCopyDataTaskData, sizeof(record), {bytes, bytes + sizeof(record)}};
}

// As a session hands out what it has decoded.
uint32_t Dispatch(const zorvane::Payload& payload) {
    zorvane::Decoded decoded = zorvane::Decode(payload);
    auto* reading = std::get_if<zorvane::GpuReading>(&decoded);
    return !reading || RemoveImplausible(*reading) ? 0 : reading->temperatureCelsius.value_or(0);
}

bool IsTerminated(const wchar_t (&field)[kWireTextLength]) {
    return wmemchr(field, L'\0', kWireTextLength) != nullptr;
}

// The checks without which nothing of a record may be read.
uint32_t ReadBare(const zorvane::Payload& payload) {
    NvmlGpuRecord record;
    if (payload.size != sizeof(record) || payload.code != kCopyDataTaskData) {
        return 0;
    }
    std::memcpy(&record, payload.bytes.data(), sizeof(record));
    const bool isSound = IsTerminated(record.entry) && IsTerminated(record.name) &&
                         IsTerminated(record.serial) && IsTerminated(record.vbiosVersion) &&
                         IsTerminated(record.driverVersion) &&
                         std::memchr(record.pciBusId, 0, kWireTextLength) != nullptr &&
                         record.gpuIndex < record.gpuCount;
    return isSound ? record.temperatureCelsius : 0;
}

}  // namespace

Row DecodeRow() {
    const zorvane::Payload payload = DynamicPayload();
    volatile uint32_t sum = 0;
    const auto perRecord = [&](auto read) {
        return SecondsOf([&] {
                   for (unsigned count = 0; count < kRecords; ++count) {
                       sum = sum + read(payload);
                   }
               }) /
               kRecords;
    };
    Row row{"dynamic record decoded and handed out", {}, {}, {}, 0};
    for (unsigned repetition = 0; repetition < kRepetitions; ++repetition) {
        row.own.push_back(perRecord(Dispatch));
        row.floor.push_back(perRecord(ReadBare));
    }
    CCallCounts counts(nullptr);
    counts.Begin();
    sum = sum + Dispatch(payload);
    row.counts = CountsText(counts.End(), 1);
    return row;
}
