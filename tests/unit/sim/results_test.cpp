#include "sim/scenario/results.h"

#include <gtest/gtest.h>

#include "sim/scenario/nvmlfunctions.h"
#include "sim/scenario/parsejson.h"

namespace {

CResults Results(const std::string& json) {
    const nlohmann::json document = ParseJson(json);
    return ReadResults(CJsonPlace(document), NvmlFunctions());
}

// The code for the first kind of call, -1 when none is set.
int32_t CodeOf(CResults& results, std::string_view function, double seconds = 0) {
    const std::optional<Outcome> outcome = results.Read(function, 0, seconds);
    return outcome ? outcome->result : -1;
}

TEST(Results, PlainNameCountsForNewerVersionsAndAnExactNameComesFirst) {
    CResults results = Results(R"({"nvmlDeviceGetPciInfo": 3, "nvmlDeviceGetPciInfo_v3": 4})");
    EXPECT_EQ(CodeOf(results, "nvmlDeviceGetPciInfo"), 3);
    EXPECT_EQ(CodeOf(results, "nvmlDeviceGetPciInfo_v2"), 3);
    EXPECT_EQ(CodeOf(results, "nvmlDeviceGetPciInfo_v3"), 4);
    EXPECT_EQ(CodeOf(results, "nvmlInit_v2"), -1);
}

TEST(Results, VersionedNameSaysNothingAboutThePlainOne) {
    CResults results = Results(R"({"nvmlInit_v2": 9})");
    EXPECT_EQ(CodeOf(results, "nvmlInit"), -1);
}

TEST(Results, ComeByCallByTimeAndByKind) {
    CResults results = Results(R"({
        "nvmlInit": {"perRead": [0, 15]}, "nvmlShutdown": {"steps": [0, 16], "stepSeconds": 10},
        "nvmlDeviceGetClock": [1, {"perRead": [2, 3]}, 4, 5]})");
    EXPECT_EQ(CodeOf(results, "nvmlInit"), 0);
    EXPECT_EQ(CodeOf(results, "nvmlInit"), 15);
    EXPECT_EQ(CodeOf(results, "nvmlInit"), 15);
    EXPECT_EQ(CodeOf(results, "nvmlShutdown", 9), 0);
    EXPECT_EQ(CodeOf(results, "nvmlShutdown", 10), 16);
    EXPECT_EQ(CodeOf(results, "nvmlShutdown", 20), 0);
    EXPECT_EQ(results.Read("nvmlDeviceGetClock", 3, 0)->result, 5);
    EXPECT_EQ(results.Read("nvmlDeviceGetClock", 1, 0)->result, 2);
    EXPECT_EQ(results.Read("nvmlDeviceGetClock", 1, 0)->result, 3);
}

TEST(Results, HangsAndCrashesStandWhereCodesStand) {
    CResults results = Results(R"({"nvmlInit": "hang", "nvmlErrorString": "crash",
        "nvmlShutdown": {"perRead": [0, {"hang": 30}, {"hang": 0.5, "result": 10}, "crash"]}})");
    EXPECT_EQ(results.Read("nvmlInit", 0, 0)->hangSeconds, kHangForGood);
    EXPECT_TRUE(results.Read("nvmlErrorString", 0, 0)->crash);
    EXPECT_TRUE(results.Read("nvmlShutdown", 0, 0)->DoesWork());
    const Outcome slow = *results.Read("nvmlShutdown", 0, 0);
    EXPECT_EQ(slow.hangSeconds, 30);
    EXPECT_EQ(slow.result, 0);
    EXPECT_FALSE(slow.DoesWork());
    const Outcome slowAndFailing = *results.Read("nvmlShutdown", 0, 0);
    EXPECT_EQ(slowAndFailing.hangSeconds, 0.5);
    EXPECT_EQ(slowAndFailing.result, 10);
    EXPECT_TRUE(results.Read("nvmlShutdown", 0, 0)->crash);
}

}  // namespace
