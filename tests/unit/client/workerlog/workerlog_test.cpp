#include "client/workerlog/workerlog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/logfile.h"
#include "tests/support/tempfolder.h"

namespace zorvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr DWORD kWorker = 4242;
constexpr CWorkerLog::Tick kStart = 1000s;

class WorkerLogTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(CreateDirectoryW(m_folder.PathOf(L"Log").c_str(), nullptr));
    }

    // A worker with this library is up.
    void Start() {
        m_log.Prepare(m_library);
        m_log.Begin(kWorker);
        m_log.OnUp(m_library, kStart);
    }

    void Append(const std::string& message, DWORD processId = kWorker) {
        WriteFileBytes(m_path, ReadFileBytes(m_path) + LoggedLine(processId, message));
    }

    // "what id" of each report.
    static std::vector<std::string> Ids(const std::vector<MissingReport>& reports) {
        std::vector<std::string> ids;
        for (const MissingReport& report : reports) {
            ids.push_back(report.what + " " + report.why.id);
        }
        return ids;
    }

    std::vector<std::string> Check(CWorkerLog::Tick afterStart = 250ms) {
        return Ids(m_log.Check(kStart + afterStart));
    }

    const CTempFolder m_folder;
    const std::wstring m_library = m_folder.PathOf(L"Zorvane.dll");
    const std::wstring m_path = m_folder.PathOf(L"Log\\Qorvella_HardwareDll.log");
    CWorkerLog m_log;
};

const std::string kNoNvml = "[I][  50][nvmlinfotask] CNvmlInfoTask::Init file not exist. x";
const std::string kNoGpus = "[I][  42][zorvaneprocess] add NvmlInfoTask failed";
const std::string kNotAdmin = "[I][  99][amdsdktask] User is not admin...";
const std::string kNoCpu = "[I][  55][zorvaneprocess] add AmdSdkTask failed";

TEST_F(WorkerLogTest, GivesEachReasonOnceAsSoonAsItIsCertain) {
    Start();
    Append(kNoNvml);
    EXPECT_THAT(Check(), IsEmpty());
    Append(kNoGpus);
    EXPECT_THAT(Check(), ElementsAre("gpu nvml.path"));
    Append(kNotAdmin);
    Append(kNoCpu);
    EXPECT_THAT(Check(), ElementsAre("cpu amd.not_admin"));
    EXPECT_THAT(Check(3s), IsEmpty());
    EXPECT_EQ(m_log.Path(), m_path);
}

TEST_F(WorkerLogTest, TakesNoLinesOfOtherWorkersNorOfAnEarlierRunWithTheSameId) {
    Append(kNoNvml);
    Append(kNoGpus);
    Start();
    Append(kNotAdmin, kWorker + 1);
    Append(kNoCpu, kWorker + 1);
    EXPECT_THAT(Check(), IsEmpty());
    EXPECT_EQ(m_log.Path(), L"");
    Append("-------log start");
    EXPECT_THAT(Check(3s), IsEmpty());
    EXPECT_EQ(m_log.Path(), m_path);
}

TEST_F(WorkerLogTest, ReadsBesideTheLibraryThatWasLoadedAndNotBesideTheExpectedOne) {
    m_log.Prepare(m_folder.PathOf(L"elsewhere\\Zorvane.dll"));
    m_log.Begin(kWorker);
    Append(kNotAdmin);
    Append(kNoCpu);
    m_log.OnUp(m_library, kStart);
    EXPECT_THAT(Check(), ElementsAre("cpu amd.not_admin"));
}

TEST_F(WorkerLogTest, SaysThatAWorkerIsWithoutALogWhenItHasHadTheTime) {
    ASSERT_TRUE(RemoveDirectoryW(m_folder.PathOf(L"Log").c_str()));
    Start();
    EXPECT_THAT(Check(1999ms), IsEmpty());
    EXPECT_THAT(Check(2s), ElementsAre("log log.open.2"));
    EXPECT_THAT(Check(3s), IsEmpty());
}

TEST_F(WorkerLogTest, ClaimsNoPlaceThatWindowsDoesNotConfirm) {
    m_log.Prepare(m_library);
    m_log.Begin(kWorker);
    m_log.OnUp(L"", kStart);
    EXPECT_THAT(Check(2s), ElementsAre("log log.unknown_place"));
    EXPECT_EQ(m_log.Path(), L"");
    // Lines of the worker's process prove it as well.
    Append(kNotAdmin);
    Append(kNoCpu);
    EXPECT_THAT(Check(3s), ElementsAre("cpu amd.not_admin"));
    EXPECT_EQ(m_log.Path(), m_path);
}

TEST_F(WorkerLogTest, GivesAReasonAgainThatComesBackAfterAReading) {
    Start();
    Append(kNoCpu);
    EXPECT_THAT(Check(), ElementsAre("cpu amd.not_added"));
    m_log.OnReading("cpu");
    EXPECT_THAT(Check(), ElementsAre("cpu amd.not_added"));
}

TEST_F(WorkerLogTest, SaysThatTheLogIsOffOnlyWhereAReasonIsWanted) {
    Start();
    Append("[I][ 125][nvmlinfotask] NVML gpu count:1");
    EXPECT_TRUE(m_log.DueTick());
    Append("-------log off");
    EXPECT_THAT(Check(), IsEmpty());
    EXPECT_FALSE(m_log.DueTick());
    EXPECT_THAT(Ids(m_log.OnUnexplained(kStart + 20s)), ElementsAre("log log.off"));
}

TEST_F(WorkerLogTest, HasAllReasonsOfAWorkerThatEndedByItself) {
    Start();
    Append("[I][  35][zorvaneprocess] sdk_flag is off...");
    EXPECT_THAT(Ids(m_log.CheckAtEnd(true)), ElementsAre("cpu amd.switched_off"));
    EXPECT_FALSE(m_log.DueTick());
    Start();
    EXPECT_THAT(Ids(m_log.CheckAtEnd(false)), IsEmpty());
}

// One that was stopped or has crashed in the middle of its start might have read it.
TEST_F(WorkerLogTest, HasOnlyCertainReasonsOfAWorkerThatWasEnded) {
    Start();
    Append("[I][ 200][utility] C:\\x.sys Service not running. 1275");
    EXPECT_THAT(Ids(m_log.CheckAtEnd(false)), IsEmpty());
    Start();
    Append("[I][ 200][utility] C:\\x.sys Service not running. 1275");
    EXPECT_THAT(Ids(m_log.CheckAtEnd(true)), ElementsAre("cpu driver.service.1275"));
}

TEST_F(WorkerLogTest, IsReadWhenAWorkerEndsWithoutAHello) {
    m_log.Prepare(m_library);
    m_log.Begin(kWorker);
    EXPECT_FALSE(m_log.DueTick());
    Append("[I][  42][msgloopthread] Create MsgLoopWnd failed.");
    EXPECT_THAT(Ids(m_log.CheckAtEnd(true)), ElementsAre("gpu worker.window", "cpu worker.window"));
}

TEST_F(WorkerLogTest, IsReadOftenWhileTheWorkerStartsAndThenOnceASecond) {
    Start();
    EXPECT_EQ(m_log.DueTick(), kStart + 250ms);
    Append("-------log start");
    Check(10s);
    EXPECT_EQ(m_log.DueTick(), kStart + 11s);
}

TEST_F(WorkerLogTest, SaysThatTheLogIsFull) {
    Start();
    Append("[I][   1][other] a line that means nothing");
    Append("-------log full");
    EXPECT_THAT(Check(), IsEmpty());
    EXPECT_FALSE(m_log.DueTick());
    EXPECT_THAT(Ids(m_log.OnUnexplained(kStart + 20s)), ElementsAre("log log.full"));
}

TEST_F(WorkerLogTest, TakesNoOtherLogWhenSomethingClaimsToBeASecondHello) {
    Start();
    m_log.OnUp(m_folder.PathOf(L"other\\Zorvane.dll"), kStart + 5s);
    Append(kNotAdmin);
    Append(kNoCpu);
    EXPECT_THAT(Check(), ElementsAre("cpu amd.not_admin"));
    EXPECT_EQ(m_log.Path(), m_path);
}

TEST_F(WorkerLogTest, IsReadToItsEndWhenTheWorkerEnds) {
    Start();
    std::string others;
    while (others.size() < 3 * CLogFollower::kMostAtOnce) {
        others += "11-16 00:10:05.123 [ 5555][ 4711][E][I][   1][other] what?\r\n";
    }
    WriteFileBytes(m_path, others);
    Append(kNotAdmin);
    Append(kNoCpu);
    EXPECT_THAT(Ids(m_log.CheckAtEnd(true)), ElementsAre("cpu amd.not_admin"));
}

TEST_F(WorkerLogTest, SaysAtTheEndThatAWorkerThatWasUpHadNoLog) {
    ASSERT_TRUE(RemoveDirectoryW(m_folder.PathOf(L"Log").c_str()));
    Start();
    EXPECT_THAT(Ids(m_log.CheckAtEnd(true)), ElementsAre("log log.open.2"));
    // One that never was up may have ended before its first line.
    m_log.Prepare(m_library);
    m_log.Begin(kWorker);
    EXPECT_THAT(Ids(m_log.CheckAtEnd(true)), IsEmpty());
}

}  // namespace
}  // namespace zorvane
