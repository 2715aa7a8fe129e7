#include <windows.h>

#include <cfgmgr32.h>
#include <setupapi.h>

#include <algorithm>
#include <memory>

#include "base/environment.h"
#include "monitor/doctor/gather.h"
#include "src/nvmlinfo/nvmllocation.h"

namespace zorvane {
namespace {

// GUID_DEVCLASS_DISPLAY, which no import library has.
constexpr GUID kDisplayClass = {
    0x4D36E968, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

struct CDeviceListFreer {
    void operator()(void* list) const { SetupDiDestroyDeviceInfoList(list); }
};

using CDeviceList = std::unique_ptr<void, CDeviceListFreer>;

// The first text of a property that may hold several.
std::wstring Property(HDEVINFO list, SP_DEVINFO_DATA& device, DWORD property) {
    wchar_t text[512] = {};
    DWORD type = REG_NONE;
    const bool isRead = SetupDiGetDeviceRegistryPropertyW(list, &device, property, &type,
                                                          reinterpret_cast<BYTE*>(text),
                                                          sizeof(text) - sizeof(*text), nullptr);
    return isRead && (type == REG_SZ || type == REG_MULTI_SZ) ? text : L"";
}

uint32_t ProblemOf(const SP_DEVINFO_DATA& device) {
    ULONG status = 0;
    ULONG problem = 0;
    const bool isKnown = CM_Get_DevNode_Status(&status, &problem, device.DevInst, 0) == CR_SUCCESS;
    return isKnown && (status & DN_HAS_PROBLEM) != 0 ? problem : 0;
}

AdapterFacts GatherAdapter(HDEVINFO list, SP_DEVINFO_DATA& device) {
    AdapterFacts adapter;
    adapter.name = OneLine(Property(list, device, SPDRP_DEVICEDESC));
    adapter.service = OneLine(Property(list, device, SPDRP_SERVICE));
    const std::wstring id = Property(list, device, SPDRP_HARDWAREID);
    adapter.isNvidia = _wcsnicmp(id.c_str(), L"PCI\\VEN_10DE", 12) == 0;
    adapter.problem = ProblemOf(device);
    return adapter;
}

std::optional<std::vector<AdapterFacts>> GatherAdapters() {
    const HDEVINFO list = SetupDiGetClassDevsW(&kDisplayClass, nullptr, nullptr, DIGCF_PRESENT);
    if (list == INVALID_HANDLE_VALUE) {
        return std::nullopt;
    }
    const CDeviceList owner(list);
    std::vector<AdapterFacts> adapters;
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof(device);
    for (DWORD i = 0; SetupDiEnumDeviceInfo(list, i, &device); ++i) {
        adapters.push_back(GatherAdapter(list, device));
    }
    // A computer shows something somewhere: an empty list is none.
    return adapters.empty() ? std::nullopt : std::optional(adapters);
}

std::wstring FixedNvmlPath() {
    std::wstring path(ExpandEnvironmentStringsW(kNvmlLocation, nullptr, 0), L'\0');
    const DWORD length =
        ExpandEnvironmentStringsW(kNvmlLocation, path.data(), static_cast<DWORD>(path.size()));
    path.resize(length > 0 && length <= path.size() ? length - 1 : 0);
    return path;
}

std::wstring SystemNvmlPath() {
    wchar_t folder[MAX_PATH] = {};
    const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
    return std::wstring(folder, length < MAX_PATH ? length : 0) + L"\\nvml.dll";
}

// Others' host programs load the library and do not look after NVML.
bool IsOurHost(const std::wstring& host) {
    return _wcsicmp(FileNameOf(host).c_str(), L"zorvanehost.exe") == 0;
}

}  // namespace

GpuFacts GatherGpu(const DoctorTarget& target) {
    GpuFacts gpu;
    gpu.adapters = GatherAdapters();
    gpu.fixedNvml = GatherFile(FixedNvmlPath());
    gpu.systemNvml = GatherFile(SystemNvmlPath());
    gpu.hostLends = IsOurHost(target.host);
    return gpu;
}

}  // namespace zorvane
