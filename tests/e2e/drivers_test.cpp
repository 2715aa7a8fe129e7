// The shipped library on NVIDIA drivers that are old, broken or hostile.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/e2e/simulatedmachine.h"
#include "tests/support/records.h"

using testing::Contains;
using testing::StartsWith;

namespace {

class Drivers : public testing::Test {
  protected:
    // Runs a worker on a variant of the driver until `count` records have come.
    std::vector<NvmlGpuRecord> RunWorker(const std::wstring& variant, size_t count,
                                         const char* scenario = kTwoGpus) {
        m_machine = std::make_unique<CSimulatedMachine>(MachineParts{
            .scenario = scenario, .nvml = variant, .settings = "[cpu_kernel]\r\nsdk_flag=0\r\n"});
        const auto worker = m_machine->StartWorker(m_stub.WindowWord());
        EXPECT_TRUE(m_stub.WaitForMessages(kCopyDataTaskData, count)) << worker->Errors();
        m_stub.SendToWorker(kCopyDataStop);
        EXPECT_EQ(worker->Wait(), 0u);
        return GpuRecords(m_stub.Messages());
    }

    // The messages of a worker that finds no usable driver.
    std::vector<std::string> RunWithoutGpus(const std::wstring& variant,
                                            const char* scenario = kTwoGpus) {
        const auto worker = StartOn(variant, scenario);
        EXPECT_EQ(worker->Wait(), 0u);
        EXPECT_EQ(CountMessages(m_stub.Messages(), kCopyDataTaskData), 0u);
        return m_machine->LogMessages();
    }

    std::unique_ptr<CChildProcess> StartOn(const std::wstring& variant, const char* scenario) {
        m_machine = std::make_unique<CSimulatedMachine>(MachineParts{
            .scenario = scenario, .nvml = variant, .settings = "[cpu_kernel]\r\nsdk_flag=0\r\n"});
        return m_machine->StartWorker(m_stub.WindowWord());
    }

    CRecordingStub m_stub;
    std::unique_ptr<CSimulatedMachine> m_machine;
};

}  // namespace

TEST_F(Drivers, WithOnlyTheOldNamesAreReadThroughThem) {
    const std::vector<NvmlGpuRecord> records = RunWorker(L"old-names", 4);
    ASSERT_GE(records.size(), 4u);
    EXPECT_STREQ(records[0].name, L"NVIDIA GeForce RTX 4090");
    EXPECT_EQ(records[0].pciBus, 1u);
    EXPECT_THAT(m_machine->Calls(), Contains(StartsWith("nvmlInit(")));
    EXPECT_THAT(m_machine->Calls(), Contains(StartsWith("nvmlDeviceGetCount(")));
    EXPECT_THAT(m_machine->Calls(), Contains(StartsWith("nvmlDeviceGetPciInfo(")));
}

TEST_F(Drivers, WithTheSecondPciInformationLeaveWhatItDoesNotKnowEmpty) {
    const std::vector<NvmlGpuRecord> records = RunWorker(L"pci-v2", 2);
    ASSERT_GE(records.size(), 2u);
    EXPECT_THAT(m_machine->Calls(), Contains(StartsWith("nvmlDeviceGetPciInfo_v2(")));
    EXPECT_EQ(records[1].pciBus, 10u);
    EXPECT_STREQ(records[1].pciBusId, "");
}

TEST_F(Drivers, WithoutAFanFunctionReportNoFan) {
    const std::vector<NvmlGpuRecord> records = RunWorker(L"no-fan", 4);
    ASSERT_GE(records.size(), 4u);
    for (const NvmlGpuRecord& record : records) {
        SCOPED_TRACE(record.gpuIndex);
        EXPECT_EQ(record.fanSpeedPercent, ZORVANE_FAN_SPEED_UNKNOWN);
    }
}

TEST_F(Drivers, ThatCanOnlyCountGiveEmptyRecords) {
    const std::vector<NvmlGpuRecord> records = RunWorker(L"minimal", 4);
    ASSERT_GE(records.size(), 4u);
    EXPECT_EQ(records[0].gpuCount, 2u);
    EXPECT_STREQ(records[0].name, L"");
    EXPECT_EQ(records[2].temperatureCelsius, 0u);
}

TEST_F(Drivers, WithoutTheFunctionsToStartOrCountAreNotUsed) {
    EXPECT_THAT(RunWithoutGpus(L"no-init"), Contains("[dynamicnvml] nvmlInit func failed"));
    EXPECT_THAT(RunWithoutGpus(L"no-count"), Contains("[dynamicnvml] nvmlInit func failed"));
}

TEST_F(Drivers, ThatAreNoLibraryAreNotUsed) {
    EXPECT_THAT(
        RunWithoutGpus(L"not-a-library"),
        Contains("[dynamicnvml] NVML DLL is not installed or not found at the default path."));
}

TEST_F(Drivers, ThatDoNotStartAreNotUsed) {
    EXPECT_THAT(RunWithoutGpus(L"", R"({"results": {"nvmlInit_v2": 9}})"),
                Contains("[dynamicnvml] nvmlInit failed, ret = 9"));
    EXPECT_THAT(m_machine->Calls(), testing::Not(Contains(StartsWith("nvmlShutdown"))));
}

TEST_F(Drivers, ThatCannotCountStayStarted) {
    EXPECT_THAT(RunWithoutGpus(L"", R"({"results": {"nvmlDeviceGetCount_v2": 999}})"),
                Contains("[dynamicnvml] nvmlDeviceGetCount failed, ret = 999"));
    EXPECT_THAT(m_machine->Calls(), testing::Not(Contains(StartsWith("nvmlShutdown"))));
}

TEST_F(Drivers, ThatKnowNoGpuAreNotUsed) {
    EXPECT_THAT(RunWithoutGpus(L"", R"({"gpus": []})"),
                Contains("[dynamicnvml] nvmlDeviceGetCount = 0"));
}

TEST_F(Drivers, WithGarbageInTextsAndCodesCannotHarmTheWorker) {
    const std::string scenario = ReadFileBytes(BuildFolder(L"sim\\scenarios") + L"\\garbage.json");
    ASSERT_FALSE(scenario.empty());
    const std::vector<NvmlGpuRecord> records = RunWorker(L"", 8, scenario.c_str());
    ASSERT_GE(records.size(), 8u);
    for (const NvmlGpuRecord& record : records) {
        SCOPED_TRACE(record.gpuIndex);
        EXPECT_EQ(record.name[kWireTextLength - 1], L'\0');
        EXPECT_EQ(record.serial[kWireTextLength - 1], L'\0');
        EXPECT_EQ(record.pciBusId[kWireTextLength - 1], '\0');
        EXPECT_EQ(record.temperatureCelsius, 0u);
        EXPECT_EQ(record.fanSpeedPercent, ZORVANE_FAN_SPEED_UNKNOWN);
        EXPECT_EQ(record.totalMemoryKiB, 0u);
    }
    EXPECT_STREQ(records[0].name, L"%s%s%n %d GPU whose name is a f");
}

TEST_F(Drivers, ThatCountFourBillionGpusLeaveTheWorkerStoppable) {
    const std::vector<NvmlGpuRecord> records = RunWorker(
        L"", 5, R"({"deviceCount": 4294967295, "gpus": [{"name": "only one", "bus": 1}]})");
    ASSERT_GE(records.size(), 5u);
    EXPECT_STREQ(records[0].name, L"only one");
    EXPECT_EQ(records[4].gpuIndex, 4u);
    EXPECT_EQ(records[4].gpuCount, 4294967295u);
    EXPECT_STREQ(records[4].name, L"");
}
