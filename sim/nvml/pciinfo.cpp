// Where a GPU sits on the PCI bus, in the three forms that the interface has had.
#include <cstddef>
#include <cstring>

#include "sim/nvml/textanswer.h"

namespace {

// What broken drivers leave in the words that version 2 reserves. A caller that takes the structure
// for version 3 finds them in place of the bus id.
constexpr uint32_t kReservedWords[] = {0xDEADBEEF, 0xDEADBEEF, 0xDEADBEEF, 0xDEADBEEF};

constexpr size_t kVersion1Size = offsetof(NvmlPciInfo, pciSubSystemId);
constexpr size_t kVersion2Size = offsetof(NvmlPciInfo, busId) + sizeof(kReservedWords);
constexpr size_t kVersion3Size = sizeof(NvmlPciInfo);

// `size` is that of the caller's structure; the memory behind it holds something else.
int32_t ReadPciInfo(const char* function, size_t size, NvmlDevice device, NvmlPciInfo* pci) {
    return RunReading({function, "", pci, size}, device, [=](Gpu& gpu, NvmlMoment& moment) {
        FillField(pci->busIdLegacy, gpu.legacyBusId, moment);
        pci->domain = gpu.domain;
        pci->bus = gpu.bus;
        pci->device = gpu.device;
        pci->pciDeviceId = gpu.deviceId;
        if (size > kVersion1Size) {
            pci->pciSubSystemId = gpu.subsystemId;
        }
        if (size > kVersion2Size) {
            FillField(pci->busId, gpu.busId, moment);
        } else if (size > kVersion1Size && moment.scenario.garbage.reservedWords) {
            std::memcpy(pci->busId, kReservedWords, sizeof(kReservedWords));
        }
        return kNvmlSuccess;
    });
}

}  // namespace

int32_t nvmlDeviceGetPciInfo_v3(NvmlDevice device, NvmlPciInfo* pci) {
    return ReadPciInfo(__func__, kVersion3Size, device, pci);
}

int32_t nvmlDeviceGetPciInfo_v2(NvmlDevice device, NvmlPciInfo* pci) {
    return ReadPciInfo(__func__, kVersion2Size, device, pci);
}

int32_t nvmlDeviceGetPciInfo(NvmlDevice device, NvmlPciInfo* pci) {
    return ReadPciInfo(__func__, kVersion1Size, device, pci);
}
