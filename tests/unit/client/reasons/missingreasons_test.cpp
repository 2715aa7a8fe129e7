#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "client/reasons/missingreasons.h"

using namespace zorvane;

namespace {

using SourceAndMessage = std::pair<const char*, const char*>;

CRunDiagnosis DiagnosisOf(const std::vector<SourceAndMessage>& messages) {
    CRunDiagnosis diagnosis;
    for (const auto& [source, message] : messages) {
        LogLine line;
        line.source = source;
        line.message = message;
        line.level = *source ? "I" : "";
        diagnosis.Add(line);
    }
    return diagnosis;
}

MissingReadings MissingIn(const std::vector<SourceAndMessage>& messages) {
    return DiagnosisOf(messages).Missing();
}

std::string IdOf(const std::optional<Explanation>& missing) { return missing ? missing->id : ""; }

std::string CpuReason(const std::vector<SourceAndMessage>& messages) {
    return IdOf(MissingIn(messages).cpu);
}

std::string GpuReason(const std::vector<SourceAndMessage>& messages) {
    return IdOf(MissingIn(messages).gpu);
}

}  // namespace

TEST(MissingReasons, AreNoneInALogThatSaysNothing) {
    EXPECT_EQ(GpuReason({}), "");
    EXPECT_EQ(CpuReason({{"", "-------log start"}, {"stranger", "User is not admin..."}}), "");
}

TEST(MissingReasons, AreNoneInAHealthyFirstStart) {
    const std::vector<SourceAndMessage> lines = {
        {"", "-------log start"},
        {"dynamicnvml", "nvmlDeviceGetCount = 1"},
        {"zorvaneprocess", "add NvmlInfoTask"},
        {"utility", "OpenService error. 1060"},
        {"amdsdktask", "QueryDrvService failed. AMDRyzenMasterDriverV15"},
        {"utility", "InstallDriver success. C:\\x.sys"},
        {"zorvaneprocess", "add AmdSdkTask"},
        {"amdsdktask", "GetCurrentTemperature 45.90 Celsius"},
        {"", "-------log off"},
    };
    EXPECT_EQ(CpuReason(lines), "");
    EXPECT_EQ(GpuReason(lines), "");
}

TEST(MissingReasons, NameTheCauseAndNotItsConsequence) {
    EXPECT_EQ(GpuReason({{"dynamicnvml", "nvmlInit failed, ret = 9"},
                         {"zorvaneprocess", "add NvmlInfoTask failed"}}),
              "nvml.init.9");
    EXPECT_EQ(
        CpuReason({{"utility", "IsSupportedOS not win10"},
                   {"amdsdktask", "requires OS version greater than or equals to Windows 10."},
                   {"utility", "DeleteDriver OpenService failed. 1060"},
                   {"zorvaneprocess", "add AmdSdkTask failed"}}),
        "amd.windows_version");
}

TEST(MissingReasons, NameTheConsequenceWhereNothingElseIsKnown) {
    EXPECT_EQ(GpuReason({{"zorvaneprocess", "add NvmlInfoTask failed"}}), "gpu.not_added");
}

TEST(MissingReasons, ConcernTheirOwnReadings) {
    const MissingReadings missing = MissingIn(
        {{"zorvaneprocess", "add NvmlInfoTask"}, {"zorvaneprocess", "sdk_flag is off..."}});
    EXPECT_EQ(IdOf(missing.cpu), "amd.switched_off");
    EXPECT_EQ(IdOf(missing.gpu), "");
}

TEST(MissingReasons, NameTheDriverBehindALibraryThatDoesNotStart) {
    EXPECT_EQ(CpuReason({{"utility", "C:\\x.sys CreateService error: 1073"},
                         {"utility", "C:\\x.sys Service not running. 577"},
                         {"amdsdktask", "Unable to install driver AMDRyzenMasterDriver.sys"},
                         {"amdsdktask", "Platform init failed."},
                         {"zorvaneprocess", "add AmdSdkTask failed"}}),
              "driver.service.577");
    EXPECT_EQ(CpuReason({{"utility", "C:\\x.sys CreateService error: 5"},
                         {"utility", "C:\\x.sys Service not running. 6"},
                         {"amdsdktask", "Platform init failed."}}),
              "driver.create.5");
    EXPECT_EQ(CpuReason({{"amdsdktask", "Platform init failed."},
                         {"zorvaneprocess", "add AmdSdkTask failed"}}),
              "amd.platform");
}

TEST(MissingReasons, ForgetADriverThatWasNotNeeded) {
    EXPECT_EQ(CpuReason({{"utility", "C:\\x.sys Service not running. 577"},
                         {"amdsdktask", "Unable to install driver AMDRyzenMasterDriver.sys"},
                         {"zorvaneprocess", "add AmdSdkTask"}}),
              "");
}

TEST(MissingReasons, NameTheReadingThatFailedLast) {
    EXPECT_EQ(CpuReason({{"zorvaneprocess", "add AmdSdkTask"},
                         {"amdsdktask", "GetPMTableData Unsupported Function"},
                         {"amdsdktask", "GetCurrentTemperature 45.90 Celsius"}}),
              "");
    EXPECT_EQ(CpuReason({{"zorvaneprocess", "add AmdSdkTask"},
                         {"amdsdktask", "GetPMTableData Unsupported Function"},
                         {"amdsdktask", "GetCurrentTemperature Failure"},
                         {"amdsdktask", "temp is 0"}}),
              "amd.temperature_failed");
    EXPECT_EQ(CpuReason({{"amdsdktask", "GetCurrentTemperature 0.00 Celsius"},
                         {"amdsdktask", "temp is 0"}}),
              "amd.no_reading");
}

TEST(MissingReasons, OfTheWorkerHoldForBoth) {
    const MissingReadings missing =
        MissingIn({{"msgloopprocess", "Send msg to stub wnd failed, msg=3343"},
                   {"zorvaneprocess", "add NvmlInfoTask"},
                   {"zorvaneprocess", "add AmdSdkTask"}});
    EXPECT_EQ(IdOf(missing.cpu), "worker.send.3343");
    EXPECT_EQ(IdOf(missing.gpu), "worker.send.3343");
}

TEST(MissingReasons, BeginAnewWithEveryRun) {
    EXPECT_EQ(CpuReason({{"amdsdktask", "User is not admin..."}, {"", "-------log start"}}), "");
}

TEST(MissingReasons, AreFoundInParsedLines) {
    const std::vector<LogLine> lines = ParseLog(
        "11-16 00:10:05.123 [ 4242][    1][E][I][ 109][nvmlinfotask] "
        "CNvmlInfoTask::Init file not exist. C:\\Nvml.dll\r\n");
    EXPECT_EQ(IdOf(FindMissingReadings(lines).gpu), "nvml.path");
}

TEST(MissingReasons, AreNotSettledWhileTheWorkerStillTries) {
    std::vector<SourceAndMessage> lines = {
        {"zorvaneprocess", "add NvmlInfoTask"},
        {"utility", "C:\\x.sys Service not running. 1275"},
        {"amdsdktask", "Unable to install driver AMDRyzenMasterDriver.sys"},
    };
    EXPECT_EQ(CpuReason(lines), "driver.service.1275");
    EXPECT_FALSE(DiagnosisOf(lines).Settled().cpu);
    lines.emplace_back("zorvaneprocess", "add AmdSdkTask failed");
    EXPECT_EQ(IdOf(DiagnosisOf(lines).Settled().cpu), "driver.service.1275");
    EXPECT_FALSE(DiagnosisOf(lines).Settled().gpu);
    lines.emplace_back("", "-------log start");
    EXPECT_FALSE(DiagnosisOf(lines).Settled().cpu);
}

TEST(MissingReasons, AreSettledWithTheFirstCycleWhereNothingElseIsSaid) {
    std::vector<SourceAndMessage> lines = {{"zorvaneprocess", "sdk_flag is off..."}};
    EXPECT_FALSE(DiagnosisOf(lines).Settled().cpu);
    for (const SourceAndMessage& sign : {SourceAndMessage{"nvmlinfotask", "NVML gpu count:1"},
                                         {"zorvaneprocess", "ZorvaneProcess Uninit. size:1"}}) {
        std::vector<SourceAndMessage> started = lines;
        started.push_back(sign);
        EXPECT_EQ(IdOf(DiagnosisOf(started).Settled().cpu), "amd.switched_off");
    }
}

TEST(MissingReasons, AreNotSettledBeforeTheOtherWayToReadWasTried) {
    std::vector<SourceAndMessage> lines = {{"zorvaneprocess", "add AmdSdkTask"},
                                           {"nvmlinfotask", "NVML gpu count:1"},
                                           {"amdsdktask", "GetPMTableData failed"}};
    EXPECT_EQ(CpuReason(lines), "amd.pm_table");
    EXPECT_FALSE(DiagnosisOf(lines).Settled().cpu);
    lines.emplace_back("amdsdktask", "temp is 0");
    EXPECT_EQ(IdOf(DiagnosisOf(lines).Settled().cpu), "amd.pm_table");
}

TEST(MissingReasons, AreSettledForAWorkerThatCannotStart) {
    const CRunDiagnosis diagnosis = DiagnosisOf({{"msgloopthread", "Create MsgLoopWnd failed."}});
    EXPECT_EQ(IdOf(diagnosis.Settled().cpu), "worker.window");
    EXPECT_EQ(IdOf(diagnosis.Settled().gpu), "worker.window");
}
