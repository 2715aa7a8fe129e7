#include "tests/unit/sim/nvml.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <set>

namespace {

using CNvmlTest = CSimTest;

constexpr char kOneGpu[] = R"({"driverVersion": "551.86", "gpus": [{
    "name": "GPU", "serial": "123", "vbios": "95.02", "boardPartNumber": "900",
    "domain": 1, "bus": 2, "device": 3, "deviceId": "0x268410DE", "subsystemId": "0x889D1043",
    "memoryMiB": 24564, "utilization": {"gpu": {"perRead": [10, 20]}, "memory": 30},
    "temperature": {"perRead": [45, 46.5, 47]}, "fanSpeed": 130,
    "clocks": [1, 2, null, 4], "maxClocks": [5, 6, 7, 8]}]})";

std::array<char, 64> Filled() {
    std::array<char, 64> text{};
    text.fill('?');
    return text;
}

TEST_F(CNvmlTest, NothingAnswersBeforeInit) {
    SetScenario(kOneGpu);
    const CNvml nvml;
    uint32_t number = 5;
    NvmlDevice device = nullptr;
    EXPECT_EQ(nvml.nvmlShutdown(), kNvmlUninitialized);
    EXPECT_EQ(nvml.nvmlDeviceGetCount_v2(&number), kNvmlUninitialized);
    EXPECT_EQ(nvml.nvmlDeviceGetHandleByIndex_v2(0, &device), kNvmlUninitialized);
    EXPECT_EQ(nvml.nvmlDeviceGetFanSpeed(nullptr, &number), kNvmlUninitialized);
    EXPECT_EQ(number, 5u);
    EXPECT_EQ(device, nullptr);
}

TEST_F(CNvmlTest, EachInitNeedsAShutdownOfItsOwn) {
    SetScenario(kOneGpu);
    const CNvml nvml;
    uint32_t count = 0;
    EXPECT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    EXPECT_EQ(nvml.nvmlInit(), kNvmlSuccess);
    EXPECT_EQ(nvml.nvmlShutdown(), kNvmlSuccess);
    EXPECT_EQ(nvml.nvmlDeviceGetCount(&count), kNvmlSuccess);
    EXPECT_EQ(nvml.nvmlShutdown(), kNvmlSuccess);
    EXPECT_EQ(nvml.nvmlDeviceGetCount(&count), kNvmlUninitialized);
}

TEST_F(CNvmlTest, NullPointersBadHandlesAndBadEnumeratorsAreInvalidArguments) {
    SetScenario(kOneGpu);
    const CNvml nvml;
    ASSERT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    const NvmlDevice gpu = nvml.Device(0);
    NvmlDevice device = nullptr;
    uint32_t number = 5;
    char text[8];
    EXPECT_EQ(nvml.nvmlDeviceGetCount_v2(nullptr), kNvmlInvalidArgument);
    EXPECT_EQ(nvml.nvmlDeviceGetHandleByIndex_v2(1, &device), kNvmlInvalidArgument);
    EXPECT_EQ(nvml.nvmlDeviceGetHandleByIndex_v2(0, nullptr), kNvmlInvalidArgument);
    EXPECT_EQ(nvml.nvmlDeviceGetName(nullptr, text, sizeof(text)), kNvmlInvalidArgument);
    EXPECT_EQ(nvml.nvmlDeviceGetName(&number, text, sizeof(text)), kNvmlInvalidArgument);
    EXPECT_EQ(nvml.nvmlDeviceGetName(gpu, nullptr, 8), kNvmlInvalidArgument);
    EXPECT_EQ(nvml.nvmlSystemGetDriverVersion(nullptr, 8), kNvmlInvalidArgument);
    EXPECT_EQ(nvml.nvmlDeviceGetUtilizationRates(gpu, nullptr), kNvmlInvalidArgument);
    EXPECT_EQ(nvml.nvmlDeviceGetMemoryInfo(gpu, nullptr), kNvmlInvalidArgument);
    EXPECT_EQ(nvml.nvmlDeviceGetPciInfo_v3(gpu, nullptr), kNvmlInvalidArgument);
    EXPECT_EQ(nvml.nvmlDeviceGetTemperature(gpu, 1, &number), kNvmlInvalidArgument);
    EXPECT_EQ(nvml.nvmlDeviceGetMaxClockInfo(gpu, 4, &number), kNvmlInvalidArgument);
    EXPECT_EQ(nvml.nvmlDeviceGetClock(gpu, 4, 0, &number), kNvmlInvalidArgument);
    EXPECT_EQ(nvml.nvmlDeviceGetClock(gpu, 0, 4, &number), kNvmlInvalidArgument);
    EXPECT_EQ(nvml.nvmlDeviceGetClock(gpu, 0, 1, &number), kNvmlNotSupported);
    EXPECT_EQ(number, 5u);
}

TEST_F(CNvmlTest, NumbersArriveRoundedOneValueARead) {
    SetScenario(kOneGpu);
    const CNvml nvml;
    ASSERT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    const NvmlDevice gpu = nvml.Device(0);
    uint32_t number = 0;
    for (const uint32_t expected : {45u, 47u, 47u, 47u}) {
        SCOPED_TRACE(expected);
        EXPECT_EQ(nvml.nvmlDeviceGetTemperature(gpu, 0, &number), kNvmlSuccess);
        EXPECT_EQ(number, expected);
    }
    NvmlUtilization utilization{};
    EXPECT_EQ(nvml.nvmlDeviceGetUtilizationRates(gpu, &utilization), kNvmlSuccess);
    EXPECT_EQ(utilization.gpu, 10u);
    EXPECT_EQ(nvml.nvmlDeviceGetUtilizationRates(gpu, &utilization), kNvmlSuccess);
    EXPECT_EQ(utilization.gpu, 20u);
    EXPECT_EQ(utilization.memory, 30u);
    EXPECT_EQ(nvml.nvmlDeviceGetFanSpeed(gpu, &number), kNvmlSuccess);
    EXPECT_EQ(number, 130u);
    NvmlMemory memory{};
    EXPECT_EQ(nvml.nvmlDeviceGetMemoryInfo(gpu, &memory), kNvmlSuccess);
    EXPECT_EQ(memory.total, 24564ull << 20);
}

TEST_F(CNvmlTest, ClocksComeByTypeAndOneThatIsAbsentIsNotSupported) {
    SetScenario(kOneGpu);
    const CNvml nvml;
    ASSERT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    const NvmlDevice gpu = nvml.Device(0);
    uint32_t number = 0;
    EXPECT_EQ(nvml.nvmlDeviceGetClock(gpu, 3, 0, &number), kNvmlSuccess);
    EXPECT_EQ(number, 4u);
    EXPECT_EQ(nvml.nvmlDeviceGetClockInfo(gpu, 1, &number), kNvmlSuccess);
    EXPECT_EQ(number, 2u);
    EXPECT_EQ(nvml.nvmlDeviceGetMaxClockInfo(gpu, 1, &number), kNvmlSuccess);
    EXPECT_EQ(number, 6u);
    EXPECT_EQ(nvml.nvmlDeviceGetClock(gpu, 2, 0, &number), kNvmlNotSupported);
    EXPECT_EQ(number, 6u);
}

TEST_F(CNvmlTest, TextsNeedRoomForTheirNul) {
    SetScenario(kOneGpu);
    const CNvml nvml;
    ASSERT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    const NvmlDevice gpu = nvml.Device(0);
    std::array<char, 64> text = Filled();
    EXPECT_EQ(nvml.nvmlDeviceGetName(gpu, text.data(), 3), kNvmlInsufficientSize);
    EXPECT_EQ(text[0], '?');
    EXPECT_EQ(nvml.nvmlDeviceGetName(gpu, text.data(), 4), kNvmlSuccess);
    EXPECT_STREQ(text.data(), "GPU");
    EXPECT_EQ(text[4], '?');
    EXPECT_EQ(nvml.nvmlDeviceGetSerial(gpu, text.data(), 64), kNvmlSuccess);
    EXPECT_STREQ(text.data(), "123");
    EXPECT_EQ(nvml.nvmlDeviceGetVbiosVersion(gpu, text.data(), 64), kNvmlSuccess);
    EXPECT_STREQ(text.data(), "95.02");
    EXPECT_EQ(nvml.nvmlDeviceGetBoardPartNumber(gpu, text.data(), 64), kNvmlSuccess);
    EXPECT_STREQ(text.data(), "900");
    EXPECT_EQ(nvml.nvmlSystemGetDriverVersion(text.data(), 64), kNvmlSuccess);
    EXPECT_STREQ(text.data(), "551.86");
}

TEST_F(CNvmlTest, WhatAGpuLacksIsNotSupported) {
    SetScenario(R"({"gpus": [{"name": "bare"}]})");
    const CNvml nvml;
    ASSERT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    const NvmlDevice gpu = nvml.Device(0);
    uint32_t number = 0;
    char text[64];
    NvmlUtilization utilization{};
    NvmlMemory memory{};
    EXPECT_EQ(nvml.nvmlDeviceGetSerial(gpu, text, 64), kNvmlNotSupported);
    EXPECT_EQ(nvml.nvmlDeviceGetVbiosVersion(gpu, text, 64), kNvmlNotSupported);
    EXPECT_EQ(nvml.nvmlSystemGetDriverVersion(text, 64), kNvmlNotSupported);
    EXPECT_EQ(nvml.nvmlDeviceGetTemperature(gpu, 0, &number), kNvmlNotSupported);
    EXPECT_EQ(nvml.nvmlDeviceGetFanSpeed(gpu, &number), kNvmlNotSupported);
    EXPECT_EQ(nvml.nvmlDeviceGetUtilizationRates(gpu, &utilization), kNvmlNotSupported);
    EXPECT_EQ(nvml.nvmlDeviceGetMemoryInfo(gpu, &memory), kNvmlNotSupported);
}

NvmlPciInfo FilledPciInfo() {
    NvmlPciInfo pci;
    std::memset(&pci, '?', sizeof(pci));
    return pci;
}

TEST_F(CNvmlTest, OlderPciEntryPointsWriteOnlyWhatTheirStructuresHave) {
    SetScenario(kOneGpu);
    const CNvml nvml;
    ASSERT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    const NvmlDevice gpu = nvml.Device(0);
    NvmlPciInfo pci = FilledPciInfo();
    EXPECT_EQ(nvml.nvmlDeviceGetPciInfo(gpu, &pci), kNvmlSuccess);
    EXPECT_STREQ(pci.busIdLegacy, "0001:02:03.0");
    EXPECT_EQ(pci.domain, 1u);
    EXPECT_EQ(pci.bus, 2u);
    EXPECT_EQ(pci.device, 3u);
    EXPECT_EQ(pci.pciDeviceId, 0x268410DEu);
    EXPECT_EQ(pci.pciSubSystemId, 0x3F3F3F3Fu);
    EXPECT_EQ(pci.busId[0], '?');

    EXPECT_EQ(nvml.nvmlDeviceGetPciInfo_v2(gpu, &pci), kNvmlSuccess);
    EXPECT_EQ(pci.pciSubSystemId, 0x889D1043u);
    EXPECT_EQ(pci.busId[0], '?');

    EXPECT_EQ(nvml.nvmlDeviceGetPciInfo_v3(gpu, &pci), kNvmlSuccess);
    EXPECT_STREQ(pci.busId, "00000001:02:03.0");
}

TEST_F(CNvmlTest, SetCountIsAnsweredButHasNoGpusBehindIt) {
    SetScenario(R"({"deviceCount": 4294967295, "gpus": [{"name": "a"}]})");
    const CNvml nvml;
    ASSERT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    uint32_t count = 0;
    NvmlDevice device = nullptr;
    EXPECT_EQ(nvml.nvmlDeviceGetCount_v2(&count), kNvmlSuccess);
    EXPECT_EQ(count, 4294967295u);
    EXPECT_EQ(nvml.nvmlDeviceGetHandleByIndex_v2(0, &device), kNvmlSuccess);
    EXPECT_EQ(nvml.nvmlDeviceGetHandleByIndex_v2(1, &device), kNvmlInvalidArgument);
}

TEST_F(CNvmlTest, SetResultsComeBackForAllForOneGpuForOneTypeAndFromACallOn) {
    SetScenario(R"({"results": {"nvmlDeviceGetFanSpeed": 999}, "gpus": [
        {"name": "a", "fanSpeed": 1, "clocks": [1, 2, 3, 4],
         "results": {"nvmlDeviceGetClock": [0, 0, -77, 0], "nvmlDeviceGetName": {"perRead": [0, 15]}}},
        {"name": "b", "fanSpeed": 2, "clocks": [1, 2, 3, 4], "results": {"nvmlDeviceGetFanSpeed": 0}}
    ]})");
    const CNvml nvml;
    ASSERT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    const NvmlDevice first = nvml.Device(0);
    const NvmlDevice second = nvml.Device(1);
    uint32_t number = 5;
    char text[8];
    EXPECT_EQ(nvml.nvmlDeviceGetFanSpeed(first, &number), 999);
    EXPECT_EQ(number, 5u);
    EXPECT_EQ(nvml.nvmlDeviceGetFanSpeed(second, &number), kNvmlSuccess);
    EXPECT_EQ(nvml.nvmlDeviceGetClock(first, 1, 0, &number), kNvmlSuccess);
    EXPECT_EQ(nvml.nvmlDeviceGetClock(first, 2, 0, &number), -77);
    EXPECT_EQ(nvml.nvmlDeviceGetClock(second, 2, 0, &number), kNvmlSuccess);
    EXPECT_EQ(nvml.nvmlDeviceGetName(first, text, 8), kNvmlSuccess);
    EXPECT_EQ(nvml.nvmlDeviceGetName(first, text, 8), 15);
}

TEST_F(CNvmlTest, FailingInitLeavesItUninitialised) {
    SetScenario(R"({"results": {"nvmlInit_v2": 9}})");
    const CNvml nvml;
    uint32_t count = 0;
    EXPECT_EQ(nvml.nvmlInit_v2(), 9);
    EXPECT_EQ(nvml.nvmlDeviceGetCount_v2(&count), kNvmlUninitialized);
    EXPECT_EQ(nvml.nvmlInit(), kNvmlSuccess);
}

TEST_F(CNvmlTest, UnterminatedTextsFillTheWholeBufferAndNothingBehindIt) {
    SetScenario(R"({"garbage": {"unterminatedTexts": true}, "driverVersion": "12",
                    "gpus": [{"name": "abc"}]})");
    const CNvml nvml;
    ASSERT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    std::array<char, 64> text = Filled();
    EXPECT_EQ(nvml.nvmlDeviceGetName(nvml.Device(0), text.data(), 8), kNvmlSuccess);
    EXPECT_EQ(std::string(text.data(), 9), "abcabcab?");
    EXPECT_EQ(nvml.nvmlSystemGetDriverVersion(text.data(), 3), kNvmlSuccess);
    EXPECT_EQ(std::string(text.data(), 4), "121a");
    NvmlPciInfo pci{};
    EXPECT_EQ(nvml.nvmlDeviceGetPciInfo_v3(nvml.Device(0), &pci), kNvmlSuccess);
    EXPECT_EQ(std::memchr(pci.busId, 0, sizeof(pci.busId)), nullptr);
}

TEST_F(CNvmlTest, FailingCallsWriteGarbageWhenToldTo) {
    SetScenario(R"({"garbage": {"writeOnFailure": true}, "gpus": [{"name": "a"}],
        "results": {"nvmlDeviceGetFanSpeed": 3, "nvmlDeviceGetName": 3, "nvmlDeviceGetCount": 3,
                    "nvmlDeviceGetPciInfo": 3}})");
    const CNvml nvml;
    ASSERT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    uint32_t number = 0;
    std::array<char, 64> text = Filled();
    NvmlPciInfo pci = FilledPciInfo();
    EXPECT_EQ(nvml.nvmlDeviceGetCount_v2(&number), 3);
    EXPECT_EQ(number, 0x58585858u);
    number = 0;
    EXPECT_EQ(nvml.nvmlDeviceGetFanSpeed(nvml.Device(0), &number), 3);
    EXPECT_EQ(number, 0x58585858u);
    EXPECT_EQ(nvml.nvmlDeviceGetName(nvml.Device(0), text.data(), 4), 3);
    EXPECT_EQ(std::string(text.data(), 5), "XXXX?");
    EXPECT_EQ(nvml.nvmlDeviceGetPciInfo(nvml.Device(0), &pci), 3);
    EXPECT_EQ(pci.pciDeviceId, 0x58585858u);
    EXPECT_EQ(pci.pciSubSystemId, 0x3F3F3F3Fu);
}

TEST_F(CNvmlTest, EveryPublishedCodeHasATextOfItsOwn) {
    SetScenario("{}");
    const CNvml nvml;
    std::set<std::string> texts = {"Unknown Error"};
    for (int32_t code = 0; code <= 30; ++code) {
        EXPECT_TRUE(texts.insert(nvml.nvmlErrorString(code)).second) << code;
    }
    EXPECT_STREQ(nvml.nvmlErrorString(0), "Success");
    EXPECT_STREQ(nvml.nvmlErrorString(15), "GPU is lost");
    EXPECT_STREQ(nvml.nvmlErrorString(16), "GPU requires reset");
    EXPECT_STREQ(nvml.nvmlErrorString(999), "Unknown Error");
    EXPECT_STREQ(nvml.nvmlErrorString(31), "Unknown Error");
    EXPECT_STREQ(nvml.nvmlErrorString(-7), "Unknown Error");
}

constexpr char kMiddleForbidden[] = R"({"gpus": [{"name": "a"}, {"name": "b", "permission": false},
                                         {"name": "c"}]})";

TEST_F(CNvmlTest, GpusWithoutPermissionAreCountedButHaveNoHandle) {
    SetScenario(kMiddleForbidden);
    const CNvml nvml;
    ASSERT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    uint32_t count = 0;
    EXPECT_EQ(nvml.nvmlDeviceGetCount_v2(&count), kNvmlSuccess);
    EXPECT_EQ(count, 3u);
    NvmlDevice device = nullptr;
    EXPECT_EQ(nvml.nvmlDeviceGetHandleByIndex_v2(1, &device), kNvmlNoPermission);
    EXPECT_EQ(device, nullptr);
    EXPECT_EQ(nvml.nvmlDeviceGetHandleByIndex_v2(2, &device), kNvmlSuccess);
}

TEST_F(CNvmlTest, FirstGenerationLeavesOutGpusWithoutPermission) {
    SetScenario(kMiddleForbidden);
    const CNvml nvml;
    ASSERT_EQ(nvml.nvmlInit(), kNvmlSuccess);
    uint32_t count = 0;
    EXPECT_EQ(nvml.nvmlDeviceGetCount(&count), kNvmlSuccess);
    EXPECT_EQ(count, 2u);
    NvmlDevice device = nullptr;
    EXPECT_EQ(nvml.nvmlDeviceGetHandleByIndex(1, &device), kNvmlSuccess);
    EXPECT_EQ(device, nvml.Device(2));
    EXPECT_EQ(nvml.nvmlDeviceGetHandleByIndex(2, &device), kNvmlInvalidArgument);
}

TEST_F(CNvmlTest, ReservedWordsOfTheSecondPciInformationCanHoldRubbish) {
    SetScenario(R"({"garbage": {"reservedWords": true}, "gpus": [{"name": "a", "bus": 1}]})");
    const CNvml nvml;
    ASSERT_EQ(nvml.nvmlInit_v2(), kNvmlSuccess);
    NvmlPciInfo pci = FilledPciInfo();
    EXPECT_EQ(nvml.nvmlDeviceGetPciInfo(nvml.Device(0), &pci), kNvmlSuccess);
    EXPECT_EQ(pci.pciSubSystemId, 0x3F3F3F3Fu);
    EXPECT_EQ(nvml.nvmlDeviceGetPciInfo_v2(nvml.Device(0), &pci), kNvmlSuccess);
    EXPECT_EQ(std::string(pci.busId, 17),
              "\xEF\xBE\xAD\xDE\xEF\xBE\xAD\xDE\xEF\xBE\xAD\xDE\xEF\xBE\xAD\xDE?");
    EXPECT_STREQ(pci.busIdLegacy, "0000:01:00.0");
    EXPECT_EQ(nvml.nvmlDeviceGetPciInfo_v3(nvml.Device(0), &pci), kNvmlSuccess);
    EXPECT_STREQ(pci.busId, "00000000:01:00.0");
}

TEST_F(CNvmlTest, CallLogHoldsEachCallWithItsArgumentsAndResultInOrder) {
    SetScenario(kOneGpu);
    const CNvml nvml;
    uint32_t number = 0;
    char text[64];
    nvml.nvmlDeviceGetCount_v2(&number);
    nvml.nvmlInit_v2();
    const NvmlDevice gpu = nvml.Device(0);
    nvml.nvmlDeviceGetHandleByIndex(7, nullptr);
    nvml.nvmlDeviceGetName(gpu, text, 64);
    nvml.nvmlDeviceGetName(nullptr, text, 64);
    nvml.nvmlDeviceGetTemperature(gpu, 0, &number);
    nvml.nvmlDeviceGetClock(gpu, 2, 0, &number);
    nvml.nvmlErrorString(3);
    nvml.nvmlDeviceGetMaxClockInfo(gpu, 3, &number);
    nvml.nvmlSystemGetDriverVersion(text, 5);
    nvml.nvmlShutdown();
    EXPECT_THAT(Calls(), testing::ElementsAre("nvmlDeviceGetCount_v2() = 1", "nvmlInit_v2() = 0",
                                              "nvmlDeviceGetHandleByIndex_v2(index=0) = 0",
                                              "nvmlDeviceGetHandleByIndex(index=7) = 2",
                                              "nvmlDeviceGetName(index=0, length=64) = 0",
                                              "nvmlDeviceGetName(index=none, length=64) = 2",
                                              "nvmlDeviceGetTemperature(index=0, sensor=0) = 0",
                                              "nvmlDeviceGetClock(index=0, type=2, id=0) = 3",
                                              "nvmlErrorString(result=3) = Not Supported",
                                              "nvmlDeviceGetMaxClockInfo(index=0, type=3) = 0",
                                              "nvmlSystemGetDriverVersion(length=5) = 7",
                                              "nvmlShutdown() = 0"));
}

}  // namespace
