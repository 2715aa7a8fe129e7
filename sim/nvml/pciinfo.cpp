// Where a GPU sits on the PCI bus, in the three forms that the interface has had.
#include <cstddef>

#include "sim/nvml/textanswer.h"

namespace {

constexpr size_t kVersion1Size = offsetof(NvmlPciInfo, pciSubSystemId);
constexpr size_t kVersion2Size = offsetof(NvmlPciInfo, busId);
constexpr size_t kVersion3Size = sizeof(NvmlPciInfo);

// `size` is that of the caller's structure: what comes after it is not the caller's to lose.
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
        }
        return kNvmlSuccess;
    });
}

}  // namespace

int32_t nvmlDeviceGetPciInfo_v3(NvmlDevice device, NvmlPciInfo* pci) {
    return ReadPciInfo("nvmlDeviceGetPciInfo_v3", kVersion3Size, device, pci);
}

int32_t nvmlDeviceGetPciInfo_v2(NvmlDevice device, NvmlPciInfo* pci) {
    return ReadPciInfo("nvmlDeviceGetPciInfo_v2", kVersion2Size, device, pci);
}

int32_t nvmlDeviceGetPciInfo(NvmlDevice device, NvmlPciInfo* pci) {
    return ReadPciInfo("nvmlDeviceGetPciInfo", kVersion1Size, device, pci);
}
