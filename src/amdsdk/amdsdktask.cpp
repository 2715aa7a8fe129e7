#include "src/amdsdk/amdsdktask.h"

#include <emmintrin.h>
#include <intrin.h>
#include <shlobj.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

#include "src/amdsdk/driverservice.h"
#include "src/amdsdk/modeloffsets.h"
#include "src/amdsdk/processortable.h"
#include "src/amdsdk/productname.h"
#include "src/log/logsite.h"
#include "src/settings.h"
#include "src/system/operatingsystem.h"
#include "src/system/vbsstatus.h"
#include "zorvane/wire.h"

namespace {

constexpr char kLogSource[] = "amdsdk\\amdsdktask.cpp";

constexpr int kTempSourceUndecided = 0;
constexpr int kTempSourceOffset = 1;
constexpr int kTempSourcePMTable = 2;

// One for all instances: the source is picked once in the life of the process.
int s_tempSource = kTempSourceUndecided;

constexpr int kLowestPlausible = 5;
constexpr int kHighestPlausible = 120;

const wchar_t* StatusText(int32_t status) {
    static constexpr const wchar_t* kTexts[] = {
        L"Failure",
        L"Success",
        L"Invalid value",
        L"Method is not implemented by the BIOS",
        L"Cores are already parked. First Enable all the cores.",
        L"Unsupported Function",
        L"Deprecated API. Use GetPMTableData",
    };
    constexpr int32_t kFirst = -1;
    constexpr int32_t kLast = kFirst + static_cast<int32_t>(std::size(kTexts)) - 1;
    return status >= kFirst && status <= kLast ? kTexts[status - kFirst] : L"(unknown status)";
}

struct CpuId {
    uint32_t eax;
    uint32_t ebx;
    uint32_t ecx;
    uint32_t edx;
};

CpuId ExecuteCpuId(uint32_t leaf) {
    int registers[4] = {};
    __cpuid(registers, static_cast<int>(leaf));
    CpuId answer{};
    static_assert(sizeof(answer) == sizeof(registers));
    std::memcpy(&answer, registers, sizeof(answer));
    return answer;
}

bool IsAmdProcessor() {
    const CpuId answer = ExecuteCpuId(0);
    char vendor[13] = {};
    std::memcpy(vendor, &answer.ebx, 4);
    std::memcpy(vendor + 4, &answer.edx, 4);
    std::memcpy(vendor + 8, &answer.ecx, 4);
    return std::strcmp(vendor, "AuthenticAMD") == 0;
}

// Only a proven active state stops the task: on machines without Device Guard the query fails.
bool IsVbsActive() {
    uint32_t status = 0;
    return QueryVbsStatus(&status) == 0 && status != 0;
}

// Toward zero. Out-of-range values and NaN become INT_MIN, as CVTTSD2SI defines; a cast would be
// undefined.
int Truncate(double value) { return _mm_cvttsd_si32(_mm_set_sd(value)); }

bool IsPlausible(int degreesCelsius) {
    return degreesCelsius >= kLowestPlausible && degreesCelsius <= kHighestPlausible;
}

int TemperatureOffset(IDeviceManager& manager, IDevice& cpu) {
    int32_t offset = 0;
    IDevice* second = manager.GetDevice(kDeviceTypeOffset, 0);
    if (second && second->GetTemperatureOffset(&offset) == 0 && offset != 0) {
        return offset;
    }
    return ModelTemperatureOffset(BlankFreeName(cpu.GetName()));
}

}  // namespace

int CAMDSDKTask::Init() {
    if (!IsUserAnAdmin()) {
        LOG_INFO(L"User is not admin...");
        return 0;
    }
    if (!IsSupportedOS()) {
        LOG_INFO(L"requires OS version greater than or equals to Windows 10.");
        return 0;
    }
    if (!IsAmdProcessor()) {
        LOG_INFO(L"No AMD Processor is found!");
        return 0;
    }
    bool skipVbsCheck = false;
    if (!IsSupportedProcessor(&skipVbsCheck)) {
        LOG_INFO(L"Not Supported Processor!");
        return 0;
    }
    if (!skipVbsCheck && IsVbsActive()) {
        LOG_INFO(L"Please disable VBS and re-start brevano.");
        return 0;
    }
    const CRegistryKey bios(HKEY_LOCAL_MACHINE, L"HARDWARE\\DESCRIPTION\\System\\BIOS", KEY_READ);
    if (const std::optional<std::wstring> product = bios.ReadText(L"SystemProductName")) {
        LOG_INFO(L"product_name:%s", product->c_str());
        if (IsSkippedProduct(*product)) {
            LOG_INFO(L"product skip");
            return 0;
        }
    }
    EnsureDriver();
    return StartPlatform() ? 1 : 0;
}

void CAMDSDKTask::EnsureDriver() const {
    if (QueryDrvService() >= 0) {
        return;
    }
    LOG_INFO(L"QueryDrvService failed. %s", kDriverServiceName);
    if (InstallDriver() == 0) {
        LOG_INFO(L"Unable to install driver %s", kDriverFileName);
    }
    // The library is asked again now that the driver has changed. The task deliberately drops the
    // answer and keeps its own pointer.
    static_cast<void>(GetPlatform());
}

bool CAMDSDKTask::StartPlatform() const {
    if (!m_platform->Init(nullptr, nullptr)) {
        LOG_INFO(L"Platform init failed.");
        return false;
    }
    if (IDevice* cpu = m_platform->GetDeviceManager().GetDevice(kDeviceTypeCpu, 0)) {
        LOG_INFO(L"cpu name:%s", cpu->GetName());
    }
    return true;
}

int CAMDSDKTask::IsSupported() { return 1; }

int CAMDSDKTask::Execute(std::shared_ptr<IProcess> process) {
    const int temperature = PickTemperature();
    if (!IsPlausible(temperature)) {
        SwitchAmdTaskOff();
    }
    if (temperature == 0) {
        LOG_INFO(L"temp is 0");
        return 0;
    }
    // Sent also when it is not plausible. The code means "stop" inbound only; outbound it has
    // always carried the temperature.
    std::string text = "{\"CpuTemp\":" + std::to_string(temperature) + "}";
    const COPYDATASTRUCT data{kCopyDataStop, static_cast<DWORD>(text.size() + 1), text.data()};
    process->SendCopyData(&data);
    return 1;
}

void CAMDSDKTask::Uninit() {
    m_platform->UnInit();
    DeleteDriver();
}

int CAMDSDKTask::PickTemperature() const {
    if (s_tempSource == kTempSourceUndecided) {
        const int temperature = GetPMTableTemperature();
        s_tempSource = temperature != 0 ? kTempSourcePMTable : kTempSourceOffset;
        return temperature != 0 ? temperature : GetOffsetTemperature();
    }
    if (s_tempSource == kTempSourceOffset) {
        return GetOffsetTemperature();
    }
    return s_tempSource == kTempSourcePMTable ? GetPMTableTemperature() : 0;
}

int CAMDSDKTask::GetPMTableTemperature() const {
    IDevice* cpu = m_platform->GetDeviceManager().GetDevice(kDeviceTypeCpu, 0);
    if (!cpu) {
        LOG_INFO(L"GetPMTableData obj failed.");
        return 0;
    }
    // Deliberately not cleared: the library fills the record, and it is not read where that fails.
    PMTableData table;
    const int32_t status = cpu->GetPMTableData(&table);
    if (status != 0) {
        LOG_INFO(L"GetPMTableData %s", StatusText(status));
        return 0;
    }
    LOG_INFO(L"GetCurrentTemperature %.2f Celsius", table.currentTemperature);
    return Truncate(table.currentTemperature);
}

int CAMDSDKTask::GetOffsetTemperature() const {
    IDeviceManager& manager = m_platform->GetDeviceManager();
    IDevice* cpu = manager.GetDevice(kDeviceTypeCpu, 0);
    if (!cpu) {
        LOG_INFO(L"GetCurrentTemperature obj failed.");
        return 0;
    }
    double temperature = 0.0;
    const int32_t status = cpu->GetCurrentTemperature(&temperature);
    if (status != 0) {
        LOG_INFO(L"GetCurrentTemperature %s", StatusText(status));
        return 0;
    }
    const double corrected = temperature - TemperatureOffset(manager, *cpu);
    LOG_INFO(L"GetCurrentTemperature %.2f Celsius", corrected);
    return Truncate(corrected);
}

bool IsSupportedProcessor(bool* skipVbsCheck) {
    *skipVbsCheck = true;
    const CpuId answer = ExecuteCpuId(0x80000001);
    const auto packageType = static_cast<int32_t>(answer.ebx) >> 28;
    LOG_INFO(L"pkgType:%d, CPUID:%lu", packageType, static_cast<unsigned long>(answer.eax));
    const ProcessorSupport support = LookUpProcessor(packageType, answer.eax);
    *skipVbsCheck = support == ProcessorSupport::kYes;
    return support != ProcessorSupport::kNo;
}
