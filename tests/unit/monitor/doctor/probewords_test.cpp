// What NVML said, read and decided about.
#include "monitor/doctor/probewords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>

#include "monitor/doctor/probe.h"

namespace zorvane {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr char kStarted[] =
    "{\"begin\":\"LoadLibrary\"}\n{\"end\":\"LoadLibrary\",\"code\":0}\n"
    "{\"begin\":\"nvmlInit\"}\n{\"end\":\"nvmlInit\",\"code\":0}\n"
    "{\"begin\":\"nvmlDeviceGetCount\"}\n{\"end\":\"nvmlDeviceGetCount\",\"code\":0,\"count\":1}\n";

std::string GpuLine(uint32_t gpu, const char* function, int code, const char* text = "") {
    return fmt::format("{{\"end\":\"{}\",\"gpu\":{},\"code\":{},\"text\":\"{}\"}}\n", function, gpu,
                       code, text);
}

Finding DecideLines(const std::string& lines) { return DecideProbeFacts(ReadProbeLines(lines)); }

TEST(ProbeLinesTest, GpusHaveTheirCallsAndTexts) {
    const ProbeFacts probe = ReadProbeLines(
        kStarted + GpuLine(0, "nvmlDeviceGetName", 0, "GeForce") +
        GpuLine(0, "nvmlDeviceGetSerial", 3) + GpuLine(0, "nvmlDeviceGetFanSpeed", 3));
    EXPECT_EQ(probe.outcome, ProbeFacts::Outcome::kAnswered);
    EXPECT_EQ(probe.count, 1u);
    ASSERT_THAT(probe.gpus, SizeIs(1));
    EXPECT_EQ(probe.gpus[0].name, "GeForce");
    EXPECT_EQ(probe.gpus[0].serial, "");
    EXPECT_THAT(probe.gpus[0].answers, SizeIs(3));
}

TEST(ProbeLinesTest, WhateverElseIsPrintedIsLeftOut) {
    const ProbeFacts probe = ReadProbeLines(
        std::string("Hello from a driver\n[1]\n{\"end\":7}\n\n") + kStarted + "{\"end\":\"nvml");
    EXPECT_EQ(probe.count, 1u);
    EXPECT_THAT(probe.gpus, IsEmpty());
}

TEST(ProbeLinesTest, CountsAndTextsFromOutsideAreBounded) {
    std::string lines = kStarted;
    for (uint32_t gpu = 0; gpu < 200; ++gpu) {
        lines += GpuLine(gpu, "nvmlDeviceGetName", 0, std::string(1000, 'x').c_str());
    }
    for (int call = 0; call < 200; ++call) {
        lines += GpuLine(0, "nvmlDeviceGetFanSpeed", 0);
    }
    const ProbeFacts probe = ReadProbeLines(lines);
    EXPECT_THAT(probe.gpus, SizeIs(64));
    EXPECT_THAT(probe.gpus[0].name, SizeIs(128));
    EXPECT_THAT(probe.gpus[0].answers, SizeIs(32));
}

TEST(ProbeLinesTest, TheLastCallIsTheOneThatWasBegun) {
    EXPECT_EQ(ReadProbeLines("{\"begin\":\"nvmlInit\"}\n").lastCall, "nvmlInit");
}

TEST(ProbeWordsTest, GpuThatAnswersPasses) {
    const Finding finding = DecideLines(kStarted + GpuLine(0, "nvmlDeviceGetName", 0, "GeForce"));
    EXPECT_EQ(finding.result, CheckResult::kPass);
    EXPECT_EQ(finding.seen, "NVML starts and counts one GPU. GPU 0, GeForce: all 1 calls work.");
}

TEST(ProbeWordsTest, CodesOfAGpuAreInWords) {
    const Finding finding =
        DecideLines(kStarted + GpuLine(0, "nvmlDeviceGetName", 0, "GeForce") +
                    GpuLine(0, "nvmlDeviceGetFanSpeed", 3) + GpuLine(0, "nvmlDeviceGetSerial", 3));
    EXPECT_EQ(finding.result, CheckResult::kPass);
    EXPECT_THAT(finding.seen, HasSubstr("GPU 0, GeForce: NVML code 3: not supported "
                                        "(nvmlDeviceGetFanSpeed, nvmlDeviceGetSerial)."));
}

TEST(ProbeWordsTest, LostGpuFailsWhenItIsTheOnlyOne) {
    const std::string lost = GpuLine(0, "nvmlDeviceGetHandleByIndex", 15);
    const Finding finding = DecideLines(kStarted + lost);
    EXPECT_EQ(finding.result, CheckResult::kFail);
    EXPECT_THAT(finding.seen, HasSubstr("a GPU has fallen off the bus"));
    EXPECT_THAT(finding.remedy, HasSubstr("Restart the PC"));
    EXPECT_EQ(DecideLines(kStarted + lost + GpuLine(1, "nvmlDeviceGetName", 0)).result,
              CheckResult::kWarn);
}

TEST(ProbeWordsTest, NvmlThatDoesNotStartFails) {
    const Finding finding = DecideLines("{\"end\":\"nvmlInit\",\"code\":9}\n");
    EXPECT_EQ(finding.result, CheckResult::kFail);
    EXPECT_EQ(finding.seen, "NVML does not start: NVML code 9: NVIDIA's driver is not loaded.");
    EXPECT_THAT(finding.remedy, HasSubstr("Device Manager"));
}

TEST(ProbeWordsTest, NvmlThatCannotCountOrCountsNoneOrLacksFunctionsFails) {
    const std::string init = "{\"end\":\"nvmlInit\",\"code\":0}\n";
    EXPECT_THAT(
        DecideLines(init + "{\"end\":\"nvmlDeviceGetCount\",\"code\":999,\"count\":0}\n").seen,
        HasSubstr("cannot count the GPUs: NVML code 999"));
    EXPECT_THAT(
        DecideLines(init + "{\"end\":\"nvmlDeviceGetCount\",\"code\":0,\"count\":0}\n").seen,
        HasSubstr("sees no GPU"));
    EXPECT_THAT(DecideLines(init).seen, HasSubstr("lacks the functions"));
    EXPECT_THAT(DecideLines("").seen, HasSubstr("lacks the functions"));
}

TEST(ProbeWordsTest, NvmlThatFindsNoneOfTheGpusThatItCountsFails) {
    const Finding finding = DecideLines(kStarted);
    EXPECT_EQ(finding.result, CheckResult::kFail);
    EXPECT_THAT(finding.seen, HasSubstr("lacks the function that finds a GPU"));
}

TEST(ProbeWordsTest, ACodeWithoutMeaningOrRemedyLeavesTheDriver) {
    const Finding unknown = DecideLines("{\"end\":\"nvmlInit\",\"code\":7777}\n");
    EXPECT_EQ(unknown.seen, "NVML does not start: NVML code 7777.");
    EXPECT_THAT(unknown.remedy, HasSubstr("Install NVIDIA's driver again"));
    const Finding library = DecideLines("{\"end\":\"nvmlInit\",\"code\":12}\n");
    EXPECT_THAT(library.seen, HasSubstr("a library of NVIDIA's driver is missing"));
    EXPECT_EQ(library.remedy, unknown.remedy);
    EXPECT_EQ(NvmlCodeWords(0), "works");
}

TEST(ProbeWordsTest, HangAndCrashAreAnswers) {
    ProbeFacts probe = ReadProbeLines("{\"begin\":\"nvmlInit\"}\n");
    probe.outcome = ProbeFacts::Outcome::kTimedOut;
    EXPECT_EQ(DecideProbeFacts(probe).seen, "NVML hangs in nvmlInit; its process was ended.");
    EXPECT_EQ(DecideProbeFacts(probe).result, CheckResult::kFail);
    probe.outcome = ProbeFacts::Outcome::kCrashed;
    probe.error = 0xC0000005;
    EXPECT_EQ(DecideProbeFacts(probe).seen, "NVML crashes in nvmlInit (code 0xC0000005).");
    probe.outcome = ProbeFacts::Outcome::kFailed;
    EXPECT_EQ(DecideProbeFacts(probe).result, CheckResult::kWarn);
    probe.outcome = ProbeFacts::Outcome::kTimedOut;
    probe.lastCall = "";
    EXPECT_EQ(DecideProbeFacts(probe).seen, "NVML hangs while loading; its process was ended.");
}

}  // namespace
}  // namespace zorvane
