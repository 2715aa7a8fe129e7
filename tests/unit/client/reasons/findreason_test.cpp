#include <gtest/gtest.h>

#include <string>

#include "client/reasons/findreason.h"

using namespace zorvane;

namespace {

std::string IdOf(const std::string& source, const std::string& message) {
    const std::optional<Explanation> explanation = ExplainLine(source, message);
    return explanation ? explanation->id : "none";
}

}  // namespace

TEST(FindReason, TakesAPlainLineAsItIs) {
    EXPECT_EQ(IdOf("amdsdktask", "User is not admin..."), "amd.not_admin");
    EXPECT_EQ(IdOf("zorvaneprocess", "sdk_flag is off..."), "amd.switched_off");
    EXPECT_EQ(IdOf("", "-------log start"), "log.start");
}

TEST(FindReason, KnowsNothingOfOtherLines) {
    EXPECT_EQ(IdOf("amdsdktask", "User is not admin"), "none");
    EXPECT_EQ(IdOf("amdsdktask", "User is not admin....."), "none");
    EXPECT_EQ(IdOf("amdsdktask", ""), "none");
    EXPECT_EQ(IdOf("utility", "User is not admin..."), "none") << "another source";
    EXPECT_EQ(IdOf("", "User is not admin..."), "none") << "not a marker";
}

TEST(FindReason, AppendsTheCodeToTheId) {
    EXPECT_EQ(IdOf("dynamicnvml", "nvmlInit failed, ret = 9"), "nvml.init.9");
    EXPECT_EQ(IdOf("dynamicnvml", "nvmlInit failed, ret = -1"), "nvml.init.-1");
    EXPECT_EQ(IdOf("utility", "C:\\A folder\\x.sys Service not running. 1072"),
              "driver.service.1072");
    EXPECT_EQ(IdOf("utility", "OpenService error. 1060"), "driver.open.1060");
}

TEST(FindReason, TakesTheSecondOfTwoCodes) {
    EXPECT_EQ(IdOf("utility", "C:\\x.sys OpenService failed. 1073, 5"), "driver.reopen.5");
}

TEST(FindReason, HasNoCodeForNumbersThatAreNone) {
    EXPECT_EQ(IdOf("amdsdktask", "pkgType:2, CPUID:8851216"), "amd.signature");
    EXPECT_EQ(IdOf("zorvaneprocess", "task erro. size:1"), "worker.task_ended");
}

TEST(FindReason, WantsWholeNumbersWhereTheFormatHasThem) {
    EXPECT_EQ(IdOf("dynamicnvml", "nvmlInit failed, ret = "), "none");
    EXPECT_EQ(IdOf("dynamicnvml", "nvmlInit failed, ret = nine"), "none");
    EXPECT_EQ(IdOf("dynamicnvml", "nvmlInit failed, ret = 9 "), "none");
    EXPECT_EQ(IdOf("dynamicnvml", "nvmlInit failed, ret = 99999999999999999999"), "none");
}

TEST(FindReason, PrefersTheLineWithMoreWordsOfItsOwn) {
    EXPECT_EQ(IdOf("utility", "DeleteDriver DeleteService failed. 5"), "driver.delete_failed.5");
    EXPECT_EQ(IdOf("utility", "C:\\x.sys DeleteService failed. 5"), "driver.recreate_delete.5");
    EXPECT_EQ(IdOf("amdsdktask", "GetPMTableData obj failed."), "amd.pm_table_device");
    EXPECT_EQ(IdOf("amdsdktask", "GetPMTableData Failure"), "amd.pm_table");
    EXPECT_EQ(IdOf("amdsdktask", "GetCurrentTemperature 45.90 Celsius"), "amd.temperature");
    EXPECT_EQ(IdOf("amdsdktask", "GetCurrentTemperature -1.#IND Celsius"), "amd.temperature");
    EXPECT_EQ(IdOf("amdsdktask", "GetCurrentTemperature Failure"), "amd.temperature_failed");
}

TEST(FindReason, TakesATextThatRepeatsWhatFollowsIt) {
    EXPECT_EQ(IdOf("utility", "C:\\a Service not running. 5\\x.sys Service not running. 577"),
              "driver.service.577");
}

TEST(FindReason, TakesBytesOfAnyCodePage) {
    EXPECT_EQ(IdOf("utility", "C:\\\x83\x5C\xFF\x80\\x.sys Service not running. 577"),
              "driver.service.577");
    EXPECT_EQ(IdOf("msgloopprocess", std::string("cmd:a\0b\x01", 8)), "worker.command_line");
    EXPECT_EQ(IdOf("msgloopprocess", "cmd:" + std::string(1 << 20, '%')), "worker.command_line");
    EXPECT_EQ(IdOf("utility", std::string(1 << 20, ' ')), "none");
}

TEST(Explain, PutsTheCodeIntoWords) {
    const std::optional<Explanation> explanation =
        ExplainLine("dynamicnvml", "nvmlInit failed, ret = 9");
    ASSERT_TRUE(explanation);
    EXPECT_EQ(explanation->text,
              "NVML does not start (NVML code 9: NVIDIA's driver is not loaded).");
    EXPECT_EQ(explanation->brief, "NVML does not start, NVML code 9");
    EXPECT_EQ(explanation->kind, ReasonKind::kCause);
    EXPECT_EQ(explanation->concern, Concern::kGpu);
    EXPECT_TRUE(explanation->remedy.starts_with("Check the card")) << explanation->remedy;
}

TEST(Explain, ShowsAnUnknownCodeAsANumber) {
    const std::optional<Explanation> explanation =
        ExplainLine("utility", "C:\\x.sys Service not running. 12345");
    ASSERT_TRUE(explanation);
    EXPECT_EQ(explanation->text, "The driver's service does not start (error 12345).");
    EXPECT_NE(explanation->remedy, "");
}

TEST(Explain, KnowsWhereACodeChangesTheMeaning) {
    EXPECT_EQ(ExplainLine("dynamicnvml", "nvmlDeviceGetCount = 2")->kind, ReasonKind::kHealthy);
    EXPECT_EQ(ExplainLine("dynamicnvml", "nvmlDeviceGetCount = 0")->kind, ReasonKind::kCause);
    EXPECT_EQ(ExplainLine("dynamicnvml", "nvmlDeviceGetCount = 0")->id, "nvml.count.0");
    EXPECT_EQ(ExplainLine("utility", "OpenService error. 1060")->kind, ReasonKind::kHealthy);
    EXPECT_EQ(ExplainLine("utility", "OpenService error. 5")->kind, ReasonKind::kInformational);
}
