// The library object of the simulated Platform.dll and its device manager.
#include <windows.h>

#include <cstdlib>
#include <string>

#include "sim/platform/device.h"
#include "sim/scenario/calllog.h"
#include "sim/scenario/environment.h"
#include "sim/scenario/platformfunctions.h"

namespace {

constexpr wchar_t kDriverDevice[] = L"\\\\.\\AMDRyzenMasterDriverV15";

HANDLE s_driver = INVALID_HANDLE_VALUE;

uint64_t Init(VendorObject*, uint64_t first, uint64_t second);
uint64_t UnInit(VendorObject*, uint64_t, uint64_t);
uint64_t GetDeviceManager(VendorObject*, uint64_t, uint64_t);
uint64_t GetDevice(VendorObject*, uint64_t type, uint64_t index);

constexpr std::array<Slot, 3> kPlatformSlots = {&Init, &UnInit, &GetDeviceManager};

constexpr auto kManagerSlots = [] {
    auto slots = UnusedSlots<4>();
    slots[3] = &GetDevice;
    return slots;
}();

constinit VendorObject s_platform{kPlatformSlots.data()};
constinit VendorObject s_manager{kManagerSlots.data()};

std::string PointerText(uint64_t pointer) { return pointer == 0 ? "null" : "set"; }

void Log(const char* function, const std::string& arguments, const char* result = nullptr) {
    LogCall(std::string(function) + "(" + arguments + ")" +
            (result ? std::string(" = ") + result : ""));
}

// The driver stays open while the library runs, as it would with the real one.
bool OpenDriver() {
    if (s_driver == INVALID_HANDLE_VALUE) {
        s_driver = CreateFileW(kDriverDevice, GENERIC_READ | GENERIC_WRITE,
                               FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                               FILE_ATTRIBUTE_NORMAL, nullptr);
    }
    return s_driver != INVALID_HANDLE_VALUE;
}

bool Start() {
    const Cpu& cpu = CurrentCpu();
    return cpu.platformInit && (!cpu.needsDriver || OpenDriver());
}

uint64_t Init(VendorObject*, uint64_t first, uint64_t second) {
    const std::string arguments = "first=" + PointerText(first) + ", second=" + PointerText(second);
    DisturbPlatformCall(kPlatformInit, arguments);
    const bool started = Start();
    if (started) {
        StartDevices();
    }
    Log(kPlatformInit, arguments, started ? "true" : "false");
    return BoolInRegister(started);
}

uint64_t UnInit(VendorObject*, uint64_t, uint64_t) {
    DisturbPlatformCall(kPlatformUnInit, "");
    StopDevices();
    if (s_driver != INVALID_HANDLE_VALUE) {
        CloseHandle(s_driver);
        s_driver = INVALID_HANDLE_VALUE;
    }
    Log(kPlatformUnInit, "");
    return 0;
}

uint64_t GetDeviceManager(VendorObject*, uint64_t, uint64_t) {
    DisturbPlatformCall(kPlatformGetDeviceManager, "");
    Log(kPlatformGetDeviceManager, "");
    return reinterpret_cast<uint64_t>(&s_manager);
}

uint64_t GetDevice(VendorObject*, uint64_t type, uint64_t index) {
    const auto deviceType = static_cast<int32_t>(type);
    const auto deviceIndex = static_cast<int32_t>(index);
    const std::string arguments =
        "type=" + std::to_string(deviceType) + ", index=" + std::to_string(deviceIndex);
    DisturbPlatformCall(kManagerGetDevice, arguments);
    VendorObject* device = FindDevice(deviceType, deviceIndex);
    Log(kManagerGetDevice, arguments, device ? "device" : "null");
    return reinterpret_cast<uint64_t>(device);
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
extern "C" VendorObject* GetPlatformObject() {
    DisturbPlatformCall(kGetPlatform, "");
    Log(kGetPlatform, "");
    return &s_platform;
}
