#include "host/runningexport.h"

#include <gtest/gtest.h>

#include <future>

#include "tests/unit/host/exportthread.h"

TEST(RunningExport, IsAskedThroughTheWindowOfItsThread) {
    CExportThread worker;
    auto taken = std::async(std::launch::async, [&] { return worker.running.AskToEnd(); });
    ASSERT_TRUE(worker.PumpUntil([&] { return worker.asked > 0; }));
    EXPECT_TRUE(taken.get());
    EXPECT_EQ(worker.asked, 1);
}

TEST(RunningExport, HasNobodyToAskBeforeItHasAWindow) {
    const CRunningExport running(nullptr);
    EXPECT_FALSE(running.AskToEnd());
}

TEST(RunningExport, KnowsWhetherItsStubIsStillThere) {
    EXPECT_FALSE(CRunningExport(nullptr).HasStub());
    EXPECT_TRUE(CRunningExport(FakeStub()).HasStub());
    EXPECT_FALSE(CRunningExport(FakeStub(true)).HasStub());
}

TEST(RunningExport, EndsWhenThatIsSaid) {
    const CRunningExport running(nullptr);
    EXPECT_FALSE(running.WaitForEnd(0));
    running.SetEnded();
    EXPECT_TRUE(running.WaitForEnd(0));
}
