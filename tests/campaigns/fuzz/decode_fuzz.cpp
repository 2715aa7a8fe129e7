// What a worker sends, and whoever else sends to the stub's window: eight bytes are the code, the
// rest is the payload.
#include <cstring>

#include "client/decode.h"
#include "client/plausible.h"
#include "tests/campaigns/fuzz/require.h"

namespace {

void CheckPrintable(const std::string& text) {
    for (const char character : text) {
        Require(character >= ' ' && character <= '~', "an error is plain ASCII");
    }
}

void CheckReading(zorvane::GpuReading reading) {
    Require(reading.index < reading.count, "a GPU is one of those counted");
    Require(reading.count <= zorvane::kMostGpus, "there are no more GPUs than any machine has");
    Require(reading.entry.size() < kWireTextLength, "an entry fits its field");
    Require(!reading.name || reading.name->size() < kWireTextLength, "a name fits its field");
    zorvane::RemoveImplausible(reading);
    Require(!zorvane::RemoveImplausible(reading), "what was implausible is gone");
}

struct Checker {
    void operator()(const zorvane::Hello& hello) const {
        Require(hello.entry.size() < kWireTextLength, "an entry fits its field");
    }
    void operator()(zorvane::GpuStatic fixed) const {
        CheckReading(fixed.first);
        zorvane::RemoveImplausible(fixed);
        Require(!zorvane::RemoveImplausible(fixed), "what was implausible is gone");
    }
    void operator()(const zorvane::GpuReading& reading) const { CheckReading(reading); }
    void operator()(const zorvane::CpuTemperature& temperature) const {
        zorvane::CheckPlausible(temperature);
    }
    void operator()(const zorvane::PayloadError& error) const { CheckPrintable(error.text); }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    zorvane::Payload payload;
    if (size < sizeof(payload.code)) {
        return 0;
    }
    std::memcpy(&payload.code, data, sizeof(payload.code));
    const auto* bytes = reinterpret_cast<const std::byte*>(data) + sizeof(payload.code);
    payload.size = static_cast<uint32_t>(size - sizeof(payload.code));
    // A copy of just this size: a byte read behind it is seen.
    payload.bytes.assign(bytes, bytes + payload.size);
    std::visit(Checker(), zorvane::Decode(payload));
    // A receiver that did not keep all of it.
    payload.bytes.resize(payload.bytes.size() / 2);
    payload.bytes.shrink_to_fit();
    std::visit(Checker(), zorvane::Decode(payload));
    return 0;
}
