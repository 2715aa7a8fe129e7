#include "monitor/doctor/textreport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "monitor/doctor/jsonreport.h"
#include "tests/unit/monitor/doctor/machines.h"

namespace zorvane {

using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::string Text(const MachineFacts& facts) {
    const Findings findings = Decide(facts);
    return TextReport(findings, Judge(findings));
}

nlohmann::json Json(const MachineFacts& facts) {
    const Findings findings = Decide(facts);
    return nlohmann::json::parse(DoctorJson(facts, findings, Judge(findings)));
}

MachineFacts MachineWithSteps() {
    MachineFacts facts = HealthyMachine();
    facts.gpu.adapters = {{"Intel UHD Graphics 770", false, "igfx", 0}};
    facts.gpu.fixedNvml.exists = facts.gpu.systemNvml.exists = false;
    facts.rights.administrator = false;
    facts.amdSwitch.on = false;
    return facts;
}

TEST(TextReportTest, BeginsWithWhatCanBeReported) {
    EXPECT_THAT(Text(HealthyMachine()),
                StartsWith("Can be reported now:\n  NVIDIA GPUs\n  AMD CPU temperature\n\nFiles\n"
                           "  PASS  files.host        C:\\Zorvane\\zorvanehost.exe, 1.0.0\n"));
}

TEST(TextReportTest, NumbersTheStepsAndNamesTheObstacles) {
    EXPECT_THAT(Text(MachineWithSteps()),
                StartsWith("Nothing can be reported now.\n"
                           "\n"
                           "NVIDIA GPUs cannot be reported on this PC:\n"
                           "  - Windows lists no NVIDIA card, only: Intel UHD Graphics 770.\n"
                           "\n"
                           "AMD CPU temperature could be reported after these steps:\n"
                           "  1. Start zorvanemon as administrator.\n"
                           "  2. Once the causes above are mended, run zorvanemon reset, or set "
                           "sdk_flag=1 in section\n"
                           "     [cpu_kernel] of that file.\n"));
}

TEST(TextReportTest, PutsTheRemedyBelowWhatWasSeen) {
    EXPECT_THAT(Text(MachineWithSteps()), HasSubstr("\n                          -> Start "
                                                    "zorvanemon as administrator.\n"));
}

TEST(TextReportTest, KeepsLinesShortEnoughToRead) {
    std::istringstream text(Text(MachineWithSteps()));
    for (std::string line; std::getline(text, line);) {
        EXPECT_LE(line.size(), 100u) << line;
    }
}

TEST(TextReportTest, SomeChecksAloneTellNothingAboutTheWhole) {
    const std::string text = TextReport(Decide(HealthyMachine(), {"cpu.vbs"}), {});
    EXPECT_EQ(text,
              "AMD CPU temperature\n  PASS  cpu.vbs  Off. It does not matter to this "
              "processor.\n");
}

TEST(DoctorJsonTest, HasVerdictsAndChecks) {
    const nlohmann::json report = Json(MachineWithSteps());
    EXPECT_EQ(report.at("schema"), kDoctorSchema);
    EXPECT_EQ(report.at("host"), "lab-7");
    EXPECT_EQ(report.at("tool_version"), "1.0.0");
    const nlohmann::json& readings = report.at("readings");
    EXPECT_EQ(readings.at(0).at("what"), "gpu");
    EXPECT_EQ(readings.at(0).at("reported"), "never");
    EXPECT_EQ(readings.at(0).at("obstacles").size(), 1u);
    EXPECT_EQ(readings.at(1).at("reported"), "after_steps");
    EXPECT_EQ(readings.at(1).at("steps").size(), 2u);
    EXPECT_EQ(report.at("checks").size(), Checks().size());
    const nlohmann::json& adapters = report.at("checks").at(7);
    EXPECT_EQ(adapters.at("id"), "gpu.adapters");
    EXPECT_EQ(adapters.at("result"), "FAIL");
    EXPECT_EQ(adapters.at("blocks"), nlohmann::json({"gpu"}));
    const nlohmann::json& first = report.at("checks").at(0);
    EXPECT_EQ(first.at("id"), "files.host");
    EXPECT_EQ(first.at("result"), "PASS");
    EXPECT_TRUE(first.at("do").is_null());
}

TEST(DoctorJsonTest, TextThatIsNoUtf8IsReplaced) {
    MachineFacts facts = HealthyMachine();
    facts.gpu.adapters->front().name = "GeForce \xFF";
    EXPECT_THAT(Json(facts).dump(), HasSubstr("GeForce \xEF\xBF\xBD"));
}

TEST(DoctorJsonTest, ProbedGpusHaveTheirCodes) {
    EXPECT_TRUE(Json(HealthyMachine()).at("probed_gpus").empty());
    MachineFacts facts = HealthyMachine();
    facts.probe.emplace();
    facts.probe->gpus = {{0, "GeForce", "042", {{"nvmlDeviceGetTemperature", 15}}}};
    const nlohmann::json gpu = Json(facts).at("probed_gpus").at(0);
    EXPECT_EQ(gpu.at("serial"), "042");
    EXPECT_EQ(gpu.at("codes").at("nvmlDeviceGetTemperature"), 15);
}

}  // namespace
}  // namespace zorvane
