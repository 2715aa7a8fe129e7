// Calls of the simulated libraries that hang and crash.
#include <gmock/gmock.h>

#include <cstdlib>
#include <thread>

#include "sim/scenario/environment.h"
#include "sim/scenario/outcome.h"
#include "sim/scenario/platformfunctions.h"
#include "src/amdsdk/platform.h"
#include "tests/support/importpatch.h"
#include "tests/unit/sim/nvml.h"

namespace {

constexpr DWORD kPatienceMs = 60000;

using testing::ElementsAre;

using CDisturbanceTest = CSimTest;

// Calls every entry point of NVML once, in an order in which each can do its work.
void CallAll(const CNvml& nvml) {
    uint32_t number = 0;
    char text[100];
    NvmlUtilization utilization{};
    NvmlMemory memory{};
    NvmlPciInfo pci{};
    NvmlDevice gpu = nullptr;
    nvml.nvmlErrorString(3);
    nvml.nvmlInit_v2();
    nvml.nvmlInit();
    nvml.nvmlSystemGetDriverVersion(text, 100);
    nvml.nvmlDeviceGetCount_v2(&number);
    nvml.nvmlDeviceGetCount(&number);
    nvml.nvmlDeviceGetHandleByIndex(0, &gpu);
    nvml.nvmlDeviceGetHandleByIndex_v2(0, &gpu);
    nvml.nvmlDeviceGetName(gpu, text, 100);
    nvml.nvmlDeviceGetSerial(gpu, text, 100);
    nvml.nvmlDeviceGetVbiosVersion(gpu, text, 100);
    nvml.nvmlDeviceGetBoardPartNumber(gpu, text, 100);
    nvml.nvmlDeviceGetUtilizationRates(gpu, &utilization);
    nvml.nvmlDeviceGetMemoryInfo(gpu, &memory);
    nvml.nvmlDeviceGetTemperature(gpu, 0, &number);
    nvml.nvmlDeviceGetFanSpeed(gpu, &number);
    nvml.nvmlDeviceGetClockInfo(gpu, 0, &number);
    nvml.nvmlDeviceGetMaxClockInfo(gpu, 0, &number);
    nvml.nvmlDeviceGetClock(gpu, 0, 0, &number);
    nvml.nvmlDeviceGetPciInfo_v3(gpu, &pci);
    nvml.nvmlDeviceGetPciInfo_v2(gpu, &pci);
    nvml.nvmlDeviceGetPciInfo(gpu, &pci);
    nvml.nvmlShutdown();
}

// Calls every function of Platform.dll once.
void CallAll(const CLoadedLibrary& library) {
    auto* getPlatform = library.Get<IPlatform&()>("?GetPlatform@@YAAEAVIPlatform@@XZ");
    IPlatform& platform = getPlatform();
    platform.Init(nullptr, nullptr);
    IDevice* cpu = platform.GetDeviceManager().GetDevice(kDeviceTypeCpu, 0);
    cpu->GetName();
    PMTableData table;
    cpu->GetPMTableData(&table);
    double temperature = 0;
    cpu->GetCurrentTemperature(&temperature);
    int32_t offset = 0;
    cpu->GetTemperatureOffset(&offset);
    platform.UnInit();
}

// {"<function>": "hang"} for each of `functions`.
template <class Functions>
std::string HangIn(const Functions& functions) {
    std::string json;
    for (const char* function : functions) {
        json += (json.empty() ? "{\"" : ", \"") + std::string(function) + "\": \"hang\"";
    }
    return json + "}";
}

std::vector<const char*> NvmlNames() {
    std::vector<const char*> names;
    for (const NvmlEntryPoint& entry : kNvmlEntryPoints) {
        names.push_back(entry.name);
    }
    return names;
}

// The functions whose hang the call log shows, in order.
std::vector<std::string> HungFunctions(const std::vector<std::string>& calls) {
    std::vector<std::string> functions;
    for (const std::string& call : calls) {
        if (call.ends_with(") = hang")) {
            functions.push_back(call.substr(0, call.find('(')));
        }
    }
    return functions;
}

TEST_F(CDisturbanceTest, EveryFunctionOfNvmlCanHangForGood) {
    SetScenario(R"({"gpus": [{"name": "a"}], "results": )" + HangIn(NvmlNames()) + "}");
    const CNvml nvml;
    std::vector<DWORD> sleeps;
    PATCH_IMPORT(
        sleep, Sleep, [&](DWORD milliseconds) { sleeps.push_back(milliseconds); }, nvml.Module());
    CallAll(nvml);
    EXPECT_THAT(HungFunctions(Calls()), testing::UnorderedElementsAreArray(NvmlNames()));
    EXPECT_EQ(sleeps, std::vector<DWORD>(NvmlNames().size(), INFINITE));
}

TEST_F(CDisturbanceTest, EveryFunctionOfThePlatformCanHangForGood) {
    SetScenario(R"({"cpu": {"needsDriver": false, "results": )" + HangIn(kPlatformFunctions) +
                "}}");
    const CLoadedLibrary library(SimFolder() / "Platform.dll");
    std::vector<DWORD> sleeps;
    PATCH_IMPORT(
        sleep, Sleep, [&](DWORD milliseconds) { sleeps.push_back(milliseconds); },
        library.Module());
    CallAll(library);
    EXPECT_THAT(HungFunctions(Calls()), testing::UnorderedElementsAreArray(kPlatformFunctions));
    EXPECT_EQ(sleeps, std::vector<DWORD>(std::size(kPlatformFunctions), INFINITE));
}

TEST_F(CDisturbanceTest, CallThatHangsForATimeThenDoesItsWorkOrFails) {
    SetScenario(R"({"gpus": [{"name": "a", "fanSpeed": 7, "results": {
        "nvmlDeviceGetFanSpeed": {"perRead": [0, {"hang": 30}, {"hang": 0.5, "result": 10}]}}}]})");
    const CNvml nvml;
    std::vector<DWORD> sleeps;
    PATCH_IMPORT(
        sleep, Sleep, [&](DWORD milliseconds) { sleeps.push_back(milliseconds); }, nvml.Module());
    ASSERT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    uint32_t speed = 0;
    EXPECT_EQ(nvml.nvmlDeviceGetFanSpeed(nvml.Device(0), &speed), kNvmlSuccess);
    EXPECT_THAT(sleeps, ElementsAre());
    speed = 0;
    EXPECT_EQ(nvml.nvmlDeviceGetFanSpeed(nvml.Device(0), &speed), kNvmlSuccess);
    EXPECT_EQ(speed, 7u);
    EXPECT_THAT(sleeps, ElementsAre(30000));
    EXPECT_EQ(nvml.nvmlDeviceGetFanSpeed(nvml.Device(0), &speed), 10);
    EXPECT_THAT(sleeps, ElementsAre(30000, 500));
}

TEST_F(CDisturbanceTest, LongestTimeIsNotForGood) {
    SetScenario(R"({"results": {"nvmlInit": {"hang": 1e12}}})");
    const CNvml nvml;
    DWORD slept = 0;
    PATCH_IMPORT(
        sleep, Sleep, [&](DWORD milliseconds) { slept = milliseconds; }, nvml.Module());
    EXPECT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    EXPECT_EQ(slept, INFINITE - 1);
}

TEST_F(CDisturbanceTest, HangingCallKeepsNoOtherWaiting) {
    SetScenario(R"({"gpus": [{"name": "a", "temperature": 40, "fanSpeed": 7}],
                    "results": {"nvmlDeviceGetFanSpeed": "hang"}})");
    const CNvml nvml;
    ASSERT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    const NvmlDevice gpu = nvml.Device(0);
    const HANDLE hanging = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE released = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    DWORD waited = WAIT_FAILED;
    PATCH_IMPORT(
        sleep, Sleep,
        [&](DWORD) {
            SetEvent(hanging);
            waited = WaitForSingleObject(released, kPatienceMs);
        },
        nvml.Module());
    std::thread reader([&] {
        uint32_t speed = 0;
        nvml.nvmlDeviceGetFanSpeed(gpu, &speed);
    });
    EXPECT_EQ(WaitForSingleObject(hanging, kPatienceMs), WAIT_OBJECT_0);
    uint32_t temperature = 0;
    EXPECT_EQ(nvml.nvmlDeviceGetTemperature(gpu, 0, &temperature), kNvmlSuccess);
    EXPECT_EQ(temperature, 40u);
    SetEvent(released);
    reader.join();
    EXPECT_EQ(waited, WAIT_OBJECT_0) << "the other call waited for the one that hangs";
    CloseHandle(hanging);
    CloseHandle(released);
}

TEST_F(CDisturbanceTest, HangIsLoggedWhenItBeginsAndTheResultWhenItEnds) {
    SetScenario(R"({"results": {"nvmlInit": {"hang": 1, "result": 9}}})");
    const CNvml nvml;
    std::vector<std::string> callsDuringHang;
    PATCH_IMPORT(
        sleep, Sleep, [&](DWORD) { callsDuringHang = Calls(); }, nvml.Module());
    nvml.nvmlInit_v2();
    EXPECT_THAT(callsDuringHang, ElementsAre("nvmlInit_v2() = hang"));
    EXPECT_THAT(Calls(), ElementsAre("nvmlInit_v2() = hang", "nvmlInit_v2() = 9"));
}

TEST_F(CDisturbanceTest, LostGpuFailsInEveryCallAboutItAndOnlyThere) {
    SetScenario(R"({"gpus": [
        {"name": "a", "fanSpeed": 1, "fault": {"result": 15, "afterCalls": 2, "forCalls": 3},
         "results": {"nvmlDeviceGetFanSpeed": 0}},
        {"name": "b", "fanSpeed": 2}]})");
    const CNvml nvml;
    ASSERT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    const NvmlDevice lost = nvml.Device(0);
    const NvmlDevice other = nvml.Device(1);
    uint32_t speed = 0;
    char name[8];
    NvmlDevice again = nullptr;
    EXPECT_EQ(nvml.nvmlDeviceGetFanSpeed(lost, &speed), kNvmlSuccess);
    EXPECT_EQ(nvml.nvmlDeviceGetFanSpeed(lost, &speed), kNvmlGpuIsLost);
    EXPECT_EQ(nvml.nvmlDeviceGetHandleByIndex_v2(0, &again), kNvmlGpuIsLost);
    EXPECT_EQ(nvml.nvmlDeviceGetName(lost, name, sizeof(name)), kNvmlGpuIsLost);
    EXPECT_EQ(nvml.nvmlDeviceGetFanSpeed(other, &speed), kNvmlSuccess);
    EXPECT_EQ(nvml.nvmlDeviceGetCount_v2(&speed), kNvmlSuccess);
    EXPECT_EQ(nvml.nvmlDeviceGetFanSpeed(lost, &speed), kNvmlSuccess);
}

// Crashes; the log goes to standard error, where the parent process sees it.
void CrashTelling() {
    Disturb({.crash = true}, [](const char* what) { WriteErrorLine(what); });
}

TEST(DisturbanceDeathTest, CrashIsToldBeforeItHappens) {
    EXPECT_EXIT(CrashTelling(), testing::ExitedWithCode(kAccessViolation), "crash");
}

// Calls everything and ends in an orderly way when nothing crashes.
[[noreturn]] void CallNvmlAndEnd() {
    CallAll(CNvml());
    std::_Exit(0);
}

[[noreturn]] void CallPlatformAndEnd() {
    CallAll(CLoadedLibrary(SimFolder() / "Platform.dll"));
    std::_Exit(0);
}

using CDisturbanceDeathTest = CSimTest;

TEST_F(CDisturbanceDeathTest, FunctionOfNvmlCrashesAtTheCallThatTheScenarioSays) {
    SetScenario(R"({"gpus": [{"name": "a"}], "results": {
        "nvmlDeviceGetHandleByIndex": {"perRead": [0, 0, "crash"]}}})");
    EXPECT_EXIT(CallNvmlAndEnd(), testing::ExitedWithCode(0), "");
    SetScenario(R"({"gpus": [{"name": "a"}], "results": {
        "nvmlDeviceGetHandleByIndex": {"perRead": [0, "crash"]}}})");
    EXPECT_EXIT(CallNvmlAndEnd(), testing::ExitedWithCode(kAccessViolation), "");
}

TEST_F(CDisturbanceDeathTest, FunctionOfThePlatformCrashesWhenTheScenarioSaysSo) {
    SetScenario(R"({"cpu": {"needsDriver": false, "results": {"IDevice::GetName": "crash"}}})");
    EXPECT_EXIT(CallPlatformAndEnd(), testing::ExitedWithCode(kAccessViolation), "");
}

}  // namespace
