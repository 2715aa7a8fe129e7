// The library object of the simulated Platform.dll and its device manager.
#include <windows.h>

#include <cstdlib>
#include <string>

#include "base/handle.h"
#include "sim/platform/device.h"
#include "sim/scenario/calllog.h"
#include "sim/scenario/environment.h"
#include "sim/scenario/platformfunctions.h"

using zorvane::SlotObject;

namespace {

constexpr wchar_t kDriverDevice[] = L"\\\\.\\AMDRyzenMasterDriverV15";

zorvane::CUniqueHandle s_driver;

uint64_t Init(SlotObject*, const void* first, const void* second);
void UnInit(SlotObject*);
SlotObject* GetDeviceManager(SlotObject*);
SlotObject* GetDevice(SlotObject*, int32_t type, int32_t index);

const zorvane::CSlotTable<3, &ReportUnusedSlot> kPlatformSlots{
    {0, &Init}, {1, &UnInit}, {2, &GetDeviceManager}};
const zorvane::CSlotTable<4, &ReportUnusedSlot> kManagerSlots{{3, &GetDevice}};

SlotObject s_platform{kPlatformSlots.Slots()};
SlotObject s_manager{kManagerSlots.Slots()};

std::string PointerText(const void* pointer) { return pointer ? "set" : "null"; }

void Log(const char* function, const std::string& arguments, const char* result = nullptr) {
    LogCall(std::string(function) + "(" + arguments + ")" +
            (result ? std::string(" = ") + result : ""));
}

// The driver stays open while the library runs, as it would with the real one.
bool OpenDriver() {
    if (!s_driver) {
        s_driver = zorvane::OwnFile(CreateFileW(kDriverDevice, GENERIC_READ | GENERIC_WRITE,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    }
    return s_driver != nullptr;
}

bool Start() {
    const Cpu& cpu = CurrentCpu();
    return cpu.platformInit && (!cpu.needsDriver || OpenDriver());
}

uint64_t Init(SlotObject*, const void* first, const void* second) {
    const std::string arguments = "first=" + PointerText(first) + ", second=" + PointerText(second);
    DisturbPlatformCall(kPlatformInit, arguments);
    const bool started = Start();
    if (started) {
        StartDevices();
    }
    Log(kPlatformInit, arguments, started ? "true" : "false");
    return zorvane::BoolInRegister(started);
}

void UnInit(SlotObject*) {
    DisturbPlatformCall(kPlatformUnInit, "");
    StopDevices();
    s_driver.reset();
    Log(kPlatformUnInit, "");
}

SlotObject* GetDeviceManager(SlotObject*) {
    DisturbPlatformCall(kPlatformGetDeviceManager, "");
    Log(kPlatformGetDeviceManager, "");
    return &s_manager;
}

SlotObject* GetDevice(SlotObject*, int32_t type, int32_t index) {
    const std::string arguments =
        "type=" + std::to_string(type) + ", index=" + std::to_string(index);
    DisturbPlatformCall(kManagerGetDevice, arguments);
    SlotObject* device = FindDevice(type, index);
    Log(kManagerGetDevice, arguments, device ? "device" : "null");
    return device;
}

}  // namespace

void ReportUnusedSlot(size_t number) {
    const std::string line =
        "error: slot " + std::to_string(number) + " of an object of Platform.dll is not simulated";
    LogCall(line);
    WriteErrorLine(line);
    std::abort();
}

// The library's one export; its decorated name is in platform.def.
extern "C" SlotObject* GetPlatformObject() {
    DisturbPlatformCall(kGetPlatform, "");
    Log(kGetPlatform, "");
    return &s_platform;
}
