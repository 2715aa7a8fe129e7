#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "tests/campaigns/faults/faultcampaign.h"
#include "tests/campaigns/faults/faultruns.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr char kLine[] = "11-21 22:40:15.000 [  264][  268][E]";

FaultResult Golden() {
    return {0,
            "returned\n"
            "calls CreateEventW 2 0\n"
            "calls memcpy 9 0\n"
            "record 3344 0100000002000000\n",
            std::string(kLine) + "-------log start\r\n"};
}

FaultVerdict Judge(const FaultResult& result,
                   const FaultRun& run = {RunEnding::kStop, "CreateEventW", 2, false}) {
    return JudgeFaultRun(run, result, Golden());
}

}  // namespace

TEST(FaultRuns, AreAllWaysToFailEachCallThatCanFail) {
    std::set<std::string> words;
    for (const FaultRun& run : PlanFaultRuns(Golden())) {
        words.insert(Words(run));
    }
    EXPECT_EQ(words, (std::set<std::string>{
                         "stop CreateEventW 1 always", "stop CreateEventW 1 once",
                         "stop CreateEventW 2 always", "stop CreateEventW 2 once",
                         "vanish CreateEventW 1 always", "vanish CreateEventW 1 once",
                         "vanish CreateEventW 2 always", "vanish CreateEventW 2 once"}));
}

TEST(FaultRuns, TakeTheFirstTheLastAndASpreadOfManyCalls) {
    FaultResult golden;
    golden.output = "calls IsWindow 1000 0\r\n";
    std::set<uint32_t> calls;
    for (const FaultRun& run : PlanFaultRuns(golden)) {
        calls.insert(run.first);
    }
    EXPECT_EQ(calls,
              (std::set<uint32_t>{1, 2, 3, 100, 200, 300, 400, 500, 600, 700, 800, 900, 1000}));
}

TEST(FaultRuns, NeverFailForGoodWhatNoWorkerCouldOutlive) {
    FaultResult golden;
    golden.output = "calls GetMessageW 1 0\n";
    EXPECT_THAT(PlanFaultRuns(golden), SizeIs(2));
}

TEST(FaultRuns, CanBeSpread) {
    FaultResult golden;
    golden.output = "calls IsWindow 12 0\n";
    const std::vector<FaultRun> runs = PlanFaultRuns(golden);
    ASSERT_THAT(runs, SizeIs(48));
    const std::vector<FaultRun> some = Spread(runs, 3);
    ASSERT_THAT(some, SizeIs(3));
    EXPECT_EQ(some[0].first, 1u);
    EXPECT_EQ(some[1].first, 5u);
    EXPECT_EQ(some[2].first, 9u);
    EXPECT_THAT(Spread(runs, 100), SizeIs(48));
}

TEST(FaultVerdict, FindsNothingInARunThatIsInOrder) {
    FaultResult result = Golden();
    result.output += "calls CreateEventW 2 1\n";
    const FaultVerdict verdict = Judge(result);
    EXPECT_THAT(verdict.findings, IsEmpty());
    EXPECT_EQ(verdict.injected, 1u);
}

TEST(FaultVerdict, TellsCrashesAndHangs) {
    FaultResult result = Golden();
    result.exitCode = 0xC0000005;
    EXPECT_TRUE(Judge(result).hasCrashed);
    EXPECT_THAT(Judge(result).findings, ElementsAre("it ended with code 0xC0000005"));
    result.exitCode = 70;
    EXPECT_TRUE(Judge(result).hasHung);
    EXPECT_FALSE(Judge(result).hasCrashed);
    result.exitCode.reset();
    EXPECT_TRUE(Judge(result).hasHung);
    EXPECT_THAT(Judge(result).findings, ElementsAre("it did not end"));
}

TEST(FaultVerdict, TakesOverWhatTheRunFoundItself) {
    FaultResult result = Golden();
    result.output += "finding a lock is still held\r\n";
    EXPECT_THAT(Judge(result).findings, ElementsAre("a lock is still held"));
}

TEST(FaultVerdict, FindsNothingInWhatTheFailureItselfIs) {
    FaultResult result = Golden();
    result.output += "finding the driver's service is left\n";
    EXPECT_THAT(Judge(result, {RunEnding::kStop, "DeleteService", 1, false}).findings, IsEmpty());
    EXPECT_THAT(Judge(result).findings, SizeIs(1));
}

TEST(FaultVerdict, AllowsOnlyExhaustedMemoryAsAnException) {
    FaultResult result = Golden();
    result.output += "thrown std::bad_alloc\n";
    EXPECT_THAT(Judge(result, {RunEnding::kStop, "malloc", 7, true}).findings, IsEmpty());
    EXPECT_THAT(Judge(result).findings, ElementsAre(HasSubstr("std::bad_alloc")));
    result.output = "thrown something\n";
    EXPECT_THAT(Judge(result, {RunEnding::kStop, "malloc", 7, true}).findings,
                ElementsAre(HasSubstr("something")));
}

TEST(FaultVerdict, TakesAMissingValueForWhatItIsAndAnotherForALie) {
    FaultResult result = Golden();
    result.output = "record 3344 0100000000000000\n";
    EXPECT_THAT(Judge(result).findings, IsEmpty());
    result.output = "record 3344 01000000FFFFFFFF\n";
    EXPECT_THAT(Judge(result).findings, IsEmpty());
    for (const char* lie : {"record 3344 0100000003000000\n", "record 3344 01000000\n",
                            "record 3345 0100000002000000\n"}) {
        result.output = lie;
        EXPECT_THAT(Judge(result).findings, SizeIs(1)) << lie;
    }
}

TEST(FaultVerdict, CountsLinesThatAreNotWhole) {
    FaultResult result = Golden();
    for (const char* torn : {"-------log start\r\n", "11-21 22:40:15.000 [  264", "\r\n"}) {
        result.log = std::string(kLine) + "-------log start\r\n" + torn;
        EXPECT_THAT(Judge(result).findings, ElementsAre("1 lines of the log are not whole"))
            << torn;
    }
    result.log = std::string(kLine) + "-------log start\n";
    EXPECT_THAT(Judge(result).findings, SizeIs(1)) << "without a carriage return";
}

TEST(FaultVerdict, AllowsAnEmptyLineForAFailedConversion) {
    FaultResult result = Golden();
    result.log += "\r\n";
    const FaultRun run{RunEnding::kStop, "WideCharToMultiByte", 1, false};
    EXPECT_THAT(Judge(result, run).findings, SizeIs(1)) << "nothing failed";
    result.output += "calls WideCharToMultiByte 3 1\n";
    EXPECT_THAT(Judge(result, run).findings, IsEmpty());
}

TEST(FaultVerdict, WantsTheLineThatTellsOfTheFailure) {
    FaultResult result = Golden();
    const FaultRun run{RunEnding::kStop, "RegisterClassExW", 1, false};
    EXPECT_THAT(Judge(result, run).findings, ElementsAre(HasSubstr("Create MsgLoopWnd failed.")));
    result.log += std::string(kLine) + "[I][  65][msgloopthread] Create MsgLoopWnd failed.\r\n";
    EXPECT_THAT(Judge(result, run).findings, IsEmpty());
}

// The campaign's short form; scripts/campaign faults runs all of it.
TEST(FaultCampaign, FindsNothingInASpreadOfRuns) {
    constexpr size_t kRuns = 40;
    std::string findings;
    const FaultFigures figures =
        RunFaultCampaign(kRuns, 4, [&](const std::string& line) { findings += line + "\n"; });
    EXPECT_EQ(figures.runs, kRuns);
    EXPECT_GT(figures.injected, figures.runs) << "some of them fail for good";
    EXPECT_GT(figures.functions, 20u);
    EXPECT_LT(figures.notReached, figures.runs / 4);
    EXPECT_EQ(figures.findings, 0u) << findings;
}
