// What the log tells of earlier runs.
#include "monitor/doctor/readlog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/logfile.h"

namespace zorvane {

using testing::ElementsAre;
using testing::SizeIs;

namespace {

std::string Start(uint32_t process) { return LoggedLine(process, "-------log start"); }

std::string NotAdministrator(uint32_t process) {
    return LoggedLine(process, "[I][ 103][amdsdktask] User is not admin...") +
           LoggedLine(process, "[I][  56][zorvaneprocess] add AmdSdkTask failed");
}

std::optional<LastRun> LastOf(const std::string& log, uint32_t running = 0) {
    return FindLastRun(
        ParseLog(log), [running](uint32_t id) { return id == running; },
        [](const std::string& bytes) { return bytes; });
}

TEST(LastRunTest, AnEmptyLogTellsOfNone) { EXPECT_FALSE(LastOf("")); }

TEST(LastRunTest, IsTheOneThatBeganLast) {
    const auto run = LastOf(Start(1) + Start(2) + LoggedLine(1, "-------log off"));
    ASSERT_TRUE(run);
    EXPECT_EQ(run->processId, 2u);
    EXPECT_EQ(run->began, "11-16 00:10:05");
    EXPECT_THAT(run->lines, SizeIs(1));
}

TEST(LastRunTest, WithoutABeginItIsTheOneThatWroteLast) {
    EXPECT_EQ(LastOf(LoggedLine(1, "-------log off") + LoggedLine(3, "-------log off"))->processId,
              3u);
}

TEST(LastRunTest, TellsHowItEnded) {
    const std::string end = LoggedLine(1, "[I][  40][msgloopthread] CMsgLoopThread quit msg loop.");
    EXPECT_EQ(LastOf(Start(1) + end)->end, RunEnd::kOrderly);
    EXPECT_EQ(LastOf(Start(1) + LoggedLine(1, "-------log off"))->end, RunEnd::kUntold);
    EXPECT_EQ(LastOf(Start(1) + NotAdministrator(1))->end, RunEnd::kBrokenOff);
    EXPECT_EQ(LastOf(Start(1), 1)->end, RunEnd::kRunning);
    EXPECT_EQ(LastOf(Start(1) + LoggedLine(1, "-------log full"))->end, RunEnd::kUntold);
    EXPECT_EQ(
        LastOf(Start(1) + LoggedLine(1, "[I][  70][msgloopprocess] WorkThreadFun process quit."))
            ->end,
        RunEnd::kOrderly);
}

TEST(LastRunTest, HasTheMeaningOfItsLinesAndWhatIsMissing) {
    const auto run =
        LastOf(Start(1) + NotAdministrator(1) + LoggedLine(1, "[I][   1][other] what?"));
    ASSERT_THAT(run->lines, SizeIs(4));
    EXPECT_EQ(run->lines[1].text, "11-16 00:10:05.123 [amdsdktask] User is not admin...");
    EXPECT_EQ(run->lines[1].meaning->id, "amd.not_admin");
    EXPECT_FALSE(run->lines[3].meaning);
    EXPECT_EQ(run->missing.cpu->id, "amd.not_admin");
    EXPECT_FALSE(run->missing.gpu);
}

TEST(LastRunTest, EqualMarkersInARowAreOneLine) {
    const std::string off = LoggedLine(1, "-------log off");
    EXPECT_THAT(LastOf(Start(1) + off + off + off)->lines, SizeIs(2));
}

TEST(SwitchReasonTest, IsOfTheOldestRunThatTellsMoreThanTheSwitch) {
    const std::string switchedOff = LoggedLine(1, "[I][  47][zorvaneprocess] sdk_flag is off...");
    const std::string log = Start(1) + switchedOff + Start(2) + NotAdministrator(2) + Start(3) +
                            LoggedLine(3, "[I][ 112][amdsdktask] Not Supported Processor!");
    EXPECT_EQ(FindSwitchReason(ParseLog(log))->reason.id, "amd.not_admin");
    EXPECT_FALSE(FindSwitchReason(ParseLog(Start(1) + switchedOff)));
}

TEST(SwitchReasonTest, IsNotThatTheWorkerItselfDidNotStart) {
    const std::string log = Start(1) +
                            LoggedLine(1, "[I][  42][msgloopthread] Create MsgLoopWnd failed.") +
                            Start(2) + NotAdministrator(2);
    EXPECT_EQ(FindSwitchReason(ParseLog(log))->reason.id, "amd.not_admin");
}

TEST(SwitchReasonTest, AProcessIdThatIsUsedAgainIsAnotherRun) {
    const std::string log = Start(1) + LoggedLine(1, "[I][  39][zorvaneprocess] add NvmlInfoTask") +
                            Start(1) + NotAdministrator(1);
    EXPECT_EQ(FindSwitchReason(ParseLog(log))->reason.id, "amd.not_admin");
}

TEST(LogProcessesTest, AreGivenOnce) {
    EXPECT_THAT(LogProcesses(ParseLog(Start(4) + Start(5) + Start(4))), ElementsAre(4, 5));
}

}  // namespace
}  // namespace zorvane
