#include <gmock/gmock.h>

#include "tests/support/tempfolder.h"
#include "tests/unit/monitor/commands/monitorprocess.h"

namespace zorvane {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr wchar_t kTwoGpus[] = L"hello static:0 static:1 gpu:0 gpu:1 gpu:0 repeat:20";

class ListProcessTest : public MonitorProcessTest {};

TEST_F(ListProcessTest, HasABlockForEachGpuInTheOrderOfTheBusIdsAndEndsByItself) {
    EXPECT_EQ(Run(L"list", kTwoGpus), kExitDone) << m_monitor->Errors();
    const std::string text = m_monitor->Output();
    EXPECT_THAT(text, testing::StartsWith("GPU 1: Fake GPU 1\n"));
    EXPECT_THAT(text, HasSubstr("\n\nGPU 0: Fake GPU 0\n"));
    EXPECT_EQ(m_monitor->Errors(), "");
}

TEST_F(ListProcessTest, GivesTheLinesOfJsonThatARunGives) {
    EXPECT_EQ(Run(L"list --json", kTwoGpus), kExitDone);
    const std::vector<nlohmann::json> lines = AllLines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].at("type"), "gpu_static");
    EXPECT_EQ(lines[0].at("index"), 1);
    EXPECT_EQ(lines[1].at("name"), "Fake GPU 0");
    EXPECT_EQ(lines[1].at("entry"), "zorvanemon");
}

TEST_F(ListProcessTest, ReadsARecording) {
    const CTempFolder folder;
    const std::wstring path = L"\"" + folder.PathOf(L"r.jsonl") + L"\"";
    ASSERT_EQ(Run(L"record " + path + L" --count 1", kTwoGpus), kExitDone);
    StartPlain(L"list --recording " + path);
    EXPECT_EQ(m_monitor->Wait(kTimeoutMs), kExitDone) << m_monitor->Errors();
    EXPECT_THAT(m_monitor->Output(), HasSubstr("GPU 0: Fake GPU 0\n"));
    StartPlain(L"list --recording none.jsonl");
    EXPECT_EQ(m_monitor->Wait(kTimeoutMs), kExitRecording);
}

TEST_F(ListProcessTest, SaysThatThereIsNoGpu) {
    EXPECT_EQ(Run(L"list", L"hello cpu:{\\\"CpuTemp\\\":40} repeat:20"), kExitNoReading);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("no NVIDIA GPU was reported"));
    EXPECT_EQ(m_monitor->Output(), "");
}

TEST_F(ListProcessTest, GivesUpAfterItsTime) {
    EXPECT_EQ(Run(L"list --wait 0.5", L"hello"), kExitNoReading);
    EXPECT_THAT(m_monitor->Errors(), HasSubstr("no reading was received in the time given"));
}

TEST_F(ListProcessTest, ShowsWhatHasComeWhenItsTimeIsOver) {
    EXPECT_EQ(Run(L"list --wait 3", L"hello static:0"), kExitTooShort);
    EXPECT_THAT(m_monitor->Output(), HasSubstr("GPU 0: Fake GPU 0\n"));
    EXPECT_THAT(m_monitor->Output(), Not(HasSubstr("GPU 1")));
}

}  // namespace
}  // namespace zorvane
