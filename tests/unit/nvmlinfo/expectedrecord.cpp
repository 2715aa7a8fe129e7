#include "tests/unit/nvmlinfo/expectedrecord.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t kRecordSize = 448;
constexpr size_t kTextCharacters = 32;
constexpr uint32_t kTaskData = 3344;

}  // namespace

CExpectedRecord::CExpectedRecord(uint32_t kind, uint32_t index, uint32_t count)
    : m_bytes(kRecordSize, '\0') {
    Put32(68, kind).Put32(72, index).Put32(76, count).Put32(100, 0xFFFFFFFF);
}

CExpectedRecord CExpectedRecord::Of(uint32_t kind, uint32_t index, uint32_t count,
                                    const FakeGpu& gpu, const std::string& driverVersion) {
    CExpectedRecord record(kind, index, count);
    record.Put32(80, gpu.utilization.memory).Put32(84, gpu.utilization.gpu);
    record.Put32(96, gpu.temperature).Put32(100, gpu.fanSpeed);
    record.PutWide(104, gpu.name);
    if (kind == 1) {
        record.Put64(88, gpu.memory.total >> 10);
        record.PutWide(168, gpu.serial);
        record.PutWide(232, gpu.vbiosVersion);
        record.PutWide(296, driverVersion);
    }
    for (size_t type = 0; type < NVML_CLOCK_COUNT; ++type) {
        record.Put32(360 + 4 * type, kind == 1 ? gpu.maxClocks[type] : 0);
        record.Put32(376 + 4 * type, gpu.clocks[type]);
    }
    record.Put32(392, gpu.pci.domain).Put32(396, gpu.pci.bus).Put32(400, gpu.pci.device);
    record.Put32(404, gpu.pci.pciDeviceId).PutText(412, gpu.pci.busId);
    return record;
}

CExpectedRecord& CExpectedRecord::Put32(size_t offset, uint32_t value) {
    std::memcpy(m_bytes.data() + offset, &value, sizeof(value));
    return *this;
}

CExpectedRecord& CExpectedRecord::Put64(size_t offset, uint64_t value) {
    std::memcpy(m_bytes.data() + offset, &value, sizeof(value));
    return *this;
}

CExpectedRecord& CExpectedRecord::PutText(size_t offset, const std::string& text) {
    text.copy(m_bytes.data() + offset, text.size());
    return *this;
}

CExpectedRecord& CExpectedRecord::PutWide(size_t offset, const std::string& text) {
    for (size_t i = 0; i < text.size(); ++i) {
        m_bytes.at(offset + 2 * i) = text[i];
    }
    return *this;
}

std::string Difference(const CFakeProcess::Message& message, const CExpectedRecord& record) {
    const std::string& payload = message.payload;
    const std::string& expected = record.Bytes();
    if (message.code != kTaskData || payload.size() != expected.size()) {
        return "code " + std::to_string(message.code) + ", " + std::to_string(payload.size()) +
               " bytes";
    }
    const auto place = std::mismatch(payload.begin(), payload.end(), expected.begin());
    if (place.first == payload.end()) {
        return "same";
    }
    return "offset " + std::to_string(place.first - payload.begin()) + ": " +
           std::to_string(static_cast<unsigned char>(*place.first)) + " instead of " +
           std::to_string(static_cast<unsigned char>(*place.second));
}

std::wstring WideField(const CFakeProcess::Message& message, size_t offset) {
    wchar_t field[kTextCharacters + 1] = {};
    std::memcpy(field, message.payload.data() + offset, kTextCharacters * sizeof(wchar_t));
    return field;
}

uint32_t Number(const CFakeProcess::Message& message, size_t offset) {
    uint32_t value = 0;
    std::memcpy(&value, message.payload.data() + offset, sizeof(value));
    return value;
}

std::string KindsAndIndices(const CFakeProcess& process) {
    std::string text;
    for (const CFakeProcess::Message& message : process.messages) {
        text += text.empty() ? "" : " ";
        text += std::to_string(Number(message, 68)) + "/" + std::to_string(Number(message, 72));
    }
    return text;
}
