#include "src/nvmlinfo/nvmlinfotask.h"

#include <shlwapi.h>

#include <algorithm>
#include <iterator>

#include "src/log/logsite.h"
#include "src/module.h"
#include "src/nvmlinfo/nvmllocation.h"
#include "src/system/operatingsystem.h"
#include "zorvane/wire.h"

namespace {

constexpr char kLogSource[] = "nvmlinfo\\nvmlinfotask.cpp";

// One for all instances: the static records are sent once in the life of the process.
bool s_staticPass = true;

// Where drivers installed NVML for a long time. Recent ones install it in the system folder, which
// is deliberately not searched.
void GetNvmlPath(ModulePath& path) {
    std::fill(std::begin(path), std::end(path), L'\0');
    const DWORD length = ExpandEnvironmentStringsW(kNvmlLocation, path, MAX_PATH);
    // The content of a buffer that was too small is not defined.
    if (length > MAX_PATH) {
        path[0] = L'\0';
    }
}

struct WideText {
    wchar_t characters[128];
};

// A text that cannot be converted becomes empty.
WideText ToWide(const NvmlText& text) {
    WideText wide{};
    if (!MultiByteToWideChar(CP_THREAD_ACP, 0, text.characters, -1, wide.characters,
                             static_cast<int>(std::size(wide.characters)))) {
        return {};
    }
    return wide;
}

// The field is zero already, so its last character stays the NUL.
template <typename Character>
void CopyText(const Character* text, size_t room, Character (&field)[kWireTextLength]) {
    const size_t length = std::min<size_t>(room, kWireTextLength - 1);
    std::copy(text, std::find(text, text + length, Character{}), field);
}

void CopyText(const WideText& text, wchar_t (&field)[kWireTextLength]) {
    CopyText(text.characters, std::size(text.characters), field);
}

NvmlGpuRecord NewRecord(uint32_t kind, uint32_t index, uint32_t count) {
    NvmlGpuRecord record{};
    record.kind = kind;
    record.gpuIndex = index;
    record.gpuCount = count;
    record.fanSpeedPercent = ZORVANE_FAN_SPEED_UNKNOWN;
    return record;
}

void FillUtilization(const NvmlApi& nvml, NvmlGpuRecord& record) {
    nvmlUtilization_t rates{};
    if (nvml.Utilization(record.gpuIndex, rates)) {
        record.memoryUtilizationPercent = rates.memory;
        record.gpuUtilizationPercent = rates.gpu;
    }
}

void FillTotalMemory(const NvmlApi& nvml, NvmlGpuRecord& record) {
    uint64_t bytes = 0;
    nvml.TotalMemory(record.gpuIndex, bytes);
    record.totalMemoryKiB = bytes >> 10;
}

void FillPciInfo(const NvmlApi& nvml, NvmlGpuRecord& record) {
    nvmlPciInfo_t pci{};
    if (!nvml.PciInfo(record.gpuIndex, pci)) {
        return;
    }
    record.pciDomain = pci.domain;
    record.pciBus = pci.bus;
    record.pciDevice = pci.device;
    record.pciDeviceId = pci.pciDeviceId;
    // The subsystem id is deliberately left 0, as readers of the record know it.
    CopyText(pci.busId, std::size(pci.busId), record.pciBusId);
}

void FillClocks(const NvmlClocks& clocks, uint32_t (&field)[kClockTypeCount]) {
    std::copy(std::begin(clocks.mhz), std::end(clocks.mhz), field);
}

void Send(IProcess& process, NvmlGpuRecord& record) {
    process.SendData(record.entry, sizeof(record));
}

}  // namespace

CNvmlInfoTask::~CNvmlInfoTask() {
    if (m_nvml.deviceCount > 0 && m_nvml.shutdown) {
        m_nvml.shutdown();
    }
}

int CNvmlInfoTask::Init() {
    ModulePath path;
    GetNvmlPath(path);
    if (!PathFileExistsW(path)) {
        LOG_INFO(L"CNvmlInfoTask::Init file not exist. %s", path);
        return 0;
    }
    return m_nvml.Load(path) != 0 ? 1 : 0;
}

int CNvmlInfoTask::IsSupported() {
    if (!IsX64OS()) {
        return 0;
    }
    ModulePath path;
    GetNvmlPath(path);
    return PathFileExistsW(path);
}

int CNvmlInfoTask::Execute(std::shared_ptr<IProcess> process) {
    LOG_INFO(L"NVML gpu count:%d", m_nvml.deviceCount);
    if (m_nvml.deviceCount == 0) {
        return 0;
    }
    if (s_staticPass) {
        if (!SendStaticRecords(*process)) {
            return 0;
        }
        s_staticPass = false;
    }
    return SendDynamicRecords(*process) ? 1 : 0;
}

void CNvmlInfoTask::Uninit() {}

// False when the process is quitting.
bool CNvmlInfoTask::SendStaticRecords(IProcess& process) const {
    const WideText driverVersion = ToWide(m_nvml.DriverVersion());
    LOG_INFO(L"NVML driver ver:%s", driverVersion.characters);
    for (uint32_t index = 0; index < m_nvml.deviceCount; ++index) {
        if (process.WaitQuit(0)) {
            return false;
        }
        NvmlGpuRecord record = NewRecord(kGpuRecordStatic, index, m_nvml.deviceCount);
        CopyText(ToWide(m_nvml.Name(index)), record.name);
        FillUtilization(m_nvml, record);
        FillTotalMemory(m_nvml, record);
        m_nvml.Temperature(index, record.temperatureCelsius);
        FillPciInfo(m_nvml, record);
        m_nvml.FanSpeed(index, record.fanSpeedPercent);
        CopyText(ToWide(m_nvml.VbiosVersion(index)), record.vbiosVersion);
        CopyText(ToWide(m_nvml.Serial(index)), record.serial);
        CopyText(driverVersion, record.driverVersion);
        FillClocks(m_nvml.MaxClocks(index), record.maxClockMHz);
        FillClocks(m_nvml.CurrentClocks(index), record.clockMHz);
        Send(process, record);
    }
    return true;
}

// False when the process is quitting.
bool CNvmlInfoTask::SendDynamicRecords(IProcess& process) const {
    for (uint32_t index = 0; index < m_nvml.deviceCount; ++index) {
        NvmlGpuRecord record = NewRecord(kGpuRecordDynamic, index, m_nvml.deviceCount);
        CopyText(ToWide(m_nvml.Name(index)), record.name);
        FillUtilization(m_nvml, record);
        m_nvml.Temperature(index, record.temperatureCelsius);
        m_nvml.FanSpeed(index, record.fanSpeedPercent);
        FillClocks(m_nvml.CurrentClocks(index), record.clockMHz);
        FillPciInfo(m_nvml, record);
        Send(process, record);
        if (process.WaitQuit(0)) {
            return false;
        }
    }
    return true;
}
