#include "host/stubwatch.h"

#include <gtest/gtest.h>

#include "host/hostexit.h"
#include "tests/support/fakeservices.h"
#include "tests/support/importpatch.h"
#include "tests/unit/host/exportthread.h"

namespace {

class StubWatch : public testing::Test {
  protected:
    std::vector<std::string> m_calls;
    CFakeServices m_services{m_calls};
    // Deliberately leaked, as in a host: the watch uses it until the process ends.
    const CLeftovers& m_leftovers = *new CLeftovers();
};

}  // namespace

TEST_F(StubWatch, AsksTheWorkerToEndWhenTheStubHasGone) {
    CExportThread worker(FakeStub());
    ASSERT_FALSE(WatchStub(worker.running, m_leftovers));
    EXPECT_EQ(worker.asked, 0);
    SetEvent(worker.running.Stub());
    ASSERT_TRUE(worker.PumpUntil([&] { return worker.asked > 0; }));
    worker.running.SetEnded();
}

TEST_F(StubWatch, ReturnsWhenTheWorkerEnds) {
    const CExportThread worker(FakeStub(true));
    worker.running.SetEnded();
    PATCH_IMPORT(terminate, TerminateProcess, [](HANDLE, UINT) -> WINBOOL {
        ADD_FAILURE() << "ended by force";
        return TRUE;
    });
    EndWithoutStub(worker.running, m_leftovers);
}

TEST_F(StubWatch, EndsTheProcessAlsoWhenNothingCanBeClearedAway) {
    const CExportThread worker(FakeStub(true));
    // The grace is over before the worker has been asked.
    ULONGLONG tick = 0;
    PATCH_IMPORT(clock, GetTickCount64, [&]() -> ULONGLONG { return tick += kStubGraceMs; });
    std::optional<UINT> code;
    PATCH_IMPORT(terminate, TerminateProcess, [&](HANDLE, UINT exitCode) -> WINBOOL {
        code = exitCode;
        return TRUE;
    });
    {
        PATCH_IMPORT(thread, CreateThread, [](auto...) -> HANDLE { return nullptr; });
        EndWithoutStub(worker.running, m_leftovers);
    }
    EXPECT_EQ(code, static_cast<UINT>(HostExit::kEndedByForce));
    EXPECT_EQ(worker.asked, 0);
}

TEST_F(StubWatch, AsksAgainUntilTheWorkerHasAWindow) {
    const CRunningExport& running = *new CRunningExport(FakeStub(true));
    std::optional<CExportThread> worker;
    ASSERT_FALSE(WatchStub(running, m_leftovers));
    // The watch has found no window yet when this one comes.
    worker.emplace();
    ASSERT_TRUE(worker->PumpUntil([&] { return worker->asked > 0; }));
    running.SetEnded();
}

TEST_F(StubWatch, NamesTheCallThatFails) {
    PATCH_IMPORT(failing, RegisterWaitForSingleObject, [](auto...) -> WINBOOL {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
    });
    const CExportThread worker(FakeStub());
    const auto error = WatchStub(worker.running, m_leftovers);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->call, "RegisterWaitForSingleObject");
}
