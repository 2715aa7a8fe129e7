// The messages that the shipped library sends to a stub.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "tests/e2e/simulatedmachine.h"
#include "tests/support/records.h"

using testing::ElementsAre;

namespace {

constexpr char kSwitchedOff[] = "[cpu_kernel]\r\nsdk_flag=0\r\n";

std::vector<std::pair<uint32_t, uint32_t>> KindsAndIndices(
    const std::vector<NvmlGpuRecord>& records) {
    std::vector<std::pair<uint32_t, uint32_t>> result;
    result.reserve(records.size());
    for (const NvmlGpuRecord& record : records) {
        result.emplace_back(record.kind, record.gpuIndex);
    }
    return result;
}

class Readings : public testing::Test {
  protected:
    // Runs a worker until it has sent `count` records, then ends it in order.
    std::vector<NvmlGpuRecord> RunWorker(const CSimulatedMachine& machine, size_t count) {
        const auto worker = machine.StartWorker(m_stub.WindowWord() + L" --entry=e2e");
        EXPECT_TRUE(m_stub.WaitForMessages(kCopyDataTaskData, count)) << worker->Errors();
        m_stub.SendToWorker(kCopyDataStop);
        EXPECT_EQ(worker->Wait(), 0u);
        std::vector<NvmlGpuRecord> records = GpuRecords(m_stub.Messages());
        records.resize(std::min(records.size(), count));
        return records;
    }

    CRecordingStub m_stub;
};

}  // namespace

TEST_F(Readings, BeginWithOneHelloThatNamesTheWorkersWindow) {
    const CSimulatedMachine machine({.scenario = kTwoGpus, .settings = kSwitchedOff});
    RunWorker(machine, 1);
    const std::vector<StubMessage> messages = m_stub.Messages();
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(CountMessages(messages, kCopyDataHello), 1u);
    for (const StubMessage& message : messages) {
        if (message.code == kCopyDataHello) {
            HelloPayload hello{};
            ASSERT_EQ(message.payload.size(), sizeof(hello));
            std::memcpy(&hello, message.payload.data(), sizeof(hello));
            EXPECT_STREQ(hello.entry, L"e2e");
            EXPECT_EQ(reinterpret_cast<HWND>(hello.hostWnd), message.sender);
        }
    }
}

TEST_F(Readings, SendStaticRecordsOnceAndDynamicOnesEveryCycle) {
    const CSimulatedMachine machine({.scenario = kTwoGpus, .settings = kSwitchedOff});
    using Pair = std::pair<uint32_t, uint32_t>;
    EXPECT_THAT(KindsAndIndices(RunWorker(machine, 8)),
                ElementsAre(Pair(1, 0), Pair(1, 1), Pair(2, 0), Pair(2, 1), Pair(2, 0), Pair(2, 1),
                            Pair(2, 0), Pair(2, 1)));
}

TEST_F(Readings, CarryTheValuesOfTheLibraryInAStaticRecord) {
    const CSimulatedMachine machine({.scenario = kTwoGpus, .settings = kSwitchedOff});
    const std::vector<NvmlGpuRecord> records = RunWorker(machine, 2);
    ASSERT_EQ(records.size(), 2u);
    const NvmlGpuRecord& first = records[0];
    EXPECT_STREQ(first.entry, L"e2e");
    EXPECT_EQ(first.gpuCount, 2u);
    EXPECT_EQ(first.gpuUtilizationPercent, 11u);
    EXPECT_EQ(first.memoryUtilizationPercent, 21u);
    EXPECT_EQ(first.totalMemoryKiB, 24564u * 1024);
    EXPECT_EQ(first.temperatureCelsius, 41u);
    EXPECT_EQ(first.fanSpeedPercent, 51u);
    EXPECT_STREQ(first.name, L"NVIDIA GeForce RTX 4090");
    EXPECT_STREQ(first.serial, L"1320523000001");
    EXPECT_STREQ(first.vbiosVersion, L"95.02.3C.00.8C");
    EXPECT_STREQ(first.driverVersion, L"551.86");
    EXPECT_THAT(first.maxClockMHz, ElementsAre(3105, 3104, 10501, 2415));
    EXPECT_THAT(first.clockMHz, ElementsAre(1001, 1100, 1200, 1300));
    EXPECT_EQ(first.pciBus, 1u);
    EXPECT_EQ(first.pciDeviceId, 0x268410DEu);
    EXPECT_STREQ(first.pciBusId, "00000000:01:00.0");
    EXPECT_EQ(records[1].fanSpeedPercent, ZORVANE_FAN_SPEED_UNKNOWN);
    EXPECT_EQ(records[1].pciBus, 10u);
}

TEST_F(Readings, CarryNewValuesInEachDynamicRecord) {
    const CSimulatedMachine machine({.scenario = kTwoGpus, .settings = kSwitchedOff});
    const std::vector<NvmlGpuRecord> records = RunWorker(machine, 5);
    ASSERT_EQ(records.size(), 5u);
    for (const size_t position : {size_t{2}, size_t{4}}) {
        SCOPED_TRACE(position);
        const auto step = static_cast<uint32_t>(position / 2);
        const NvmlGpuRecord& record = records[position];
        EXPECT_EQ(record.gpuUtilizationPercent, 11 + step);
        EXPECT_EQ(record.memoryUtilizationPercent, 21 + step);
        EXPECT_EQ(record.temperatureCelsius, 41 + step);
        EXPECT_EQ(record.fanSpeedPercent, 51 + step);
        EXPECT_THAT(record.clockMHz, ElementsAre(1001 + step, 1100, 1200, 1300));
        EXPECT_STREQ(record.name, L"NVIDIA GeForce RTX 4090");
        EXPECT_EQ(record.totalMemoryKiB, 0u);
        EXPECT_STREQ(record.serial, L"");
        EXPECT_STREQ(record.vbiosVersion, L"");
        EXPECT_STREQ(record.driverVersion, L"");
        EXPECT_THAT(record.maxClockMHz, ElementsAre(0, 0, 0, 0));
    }
}

TEST_F(Readings, CutALongEntryNameAt31Characters) {
    const CSimulatedMachine machine({.scenario = kTwoGpus, .settings = kSwitchedOff});
    const auto worker = machine.StartWorker(m_stub.WindowWord() +
                                            L" --entry=0123456789012345678901234567890123456789");
    ASSERT_TRUE(m_stub.WaitForMessages(kCopyDataTaskData, 1)) << worker->Errors();
    ASSERT_TRUE(m_stub.WaitForMessages(kCopyDataHello, 1)) << worker->Errors();
    for (const StubMessage& message : m_stub.Messages()) {
        wchar_t entry[kWireTextLength] = {};
        ASSERT_GE(message.payload.size(), sizeof(entry));
        std::memcpy(entry, message.payload.data(), sizeof(entry));
        EXPECT_STREQ(entry, L"0123456789012345678901234567890");
    }
}

TEST_F(Readings, AskTheLibraryInTheOrderOfTheRecords) {
    const CSimulatedMachine machine({.scenario = kTwoGpus, .settings = kSwitchedOff});
    RunWorker(machine, 2);
    std::vector<std::string> functions;
    for (const std::string& call : machine.Calls()) {
        functions.push_back(call.substr(0, call.find('(')));
    }
    const std::string handle = "nvmlDeviceGetHandleByIndex_v2";
    ASSERT_GT(functions.size(), 27u);
    functions.resize(27);
    EXPECT_THAT(functions,
                ElementsAre("nvmlInit_v2", "nvmlDeviceGetCount_v2", "nvmlSystemGetDriverVersion",
                            handle, "nvmlDeviceGetName", handle, "nvmlDeviceGetUtilizationRates",
                            handle, "nvmlDeviceGetMemoryInfo", handle, "nvmlDeviceGetTemperature",
                            handle, "nvmlDeviceGetPciInfo_v3", handle, "nvmlDeviceGetFanSpeed",
                            handle, "nvmlDeviceGetVbiosVersion", handle, "nvmlDeviceGetSerial",
                            handle, "nvmlDeviceGetMaxClockInfo", "nvmlDeviceGetMaxClockInfo",
                            "nvmlDeviceGetMaxClockInfo", "nvmlDeviceGetMaxClockInfo", handle,
                            "nvmlDeviceGetClock", "nvmlDeviceGetClock"));
    EXPECT_THAT(machine.Calls().back(), testing::StartsWith("nvmlShutdown"));
}

TEST_F(Readings, GoOnAfterAStubThatTakesTooLong) {
    const zorvane::CUniqueHandle released(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    CRecordingStub slow([&released](const StubMessage& message) {
        if (message.code == kCopyDataTaskData) {
            WaitForSingleObject(released.get(), INFINITE);
        }
    });
    const CSimulatedMachine machine({.scenario = kTwoGpus, .settings = kSwitchedOff});
    const auto worker = machine.StartWorker(slow.WindowWord());
    ASSERT_TRUE(slow.WaitForMessages(kCopyDataTaskData, 1)) << worker->Errors();
    // The worker gives up on the first record and meanwhile reads the next ones.
    while (machine.Calls().size() < 60 && worker->Wait(50) == std::nullopt) {
    }
    EXPECT_EQ(worker->Wait(0), std::nullopt);
    SetEvent(released.get());
    EXPECT_TRUE(slow.WaitForMessages(kCopyDataTaskData, 2));
    slow.SendToWorker(kCopyDataStop);
    EXPECT_EQ(worker->Wait(), 0u);
    slow.Destroy();
}
