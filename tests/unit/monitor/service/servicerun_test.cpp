// What Windows' service control is told of a run, and what it may ask. A process runs one service.
#include "monitor/service/servicerun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "monitor/run/interrupts.h"
#include "tests/support/importpatch.h"

namespace zorvane {
namespace {

using testing::SizeIs;

// Plays Windows' service control, and asks the service for something while it works.
class ServiceRun : public testing::Test {
  protected:
    std::optional<CallError> Run(std::function<int()> work) {
        return RunAsService(L"gpus", std::move(work));
    }

    DWORD Ask(DWORD control) { return m_handler(control, 0, nullptr, nullptr); }

    std::wstring m_name;
    LPHANDLER_FUNCTION_EX m_handler = nullptr;
    std::vector<SERVICE_STATUS> m_told;
    PATCH_IMPORT(m_dispatch, StartServiceCtrlDispatcherW,
                 [](const SERVICE_TABLE_ENTRYW* table) -> WINBOOL {
                     table[0].lpServiceProc(0, nullptr);
                     return TRUE;
                 });
    PATCH_IMPORT(m_register, RegisterServiceCtrlHandlerExW,
                 [this](LPCWSTR name, LPHANDLER_FUNCTION_EX handler,
                        LPVOID) -> SERVICE_STATUS_HANDLE {
                     m_name = name;
                     m_handler = handler;
                     return reinterpret_cast<SERVICE_STATUS_HANDLE>(1);
                 });
    PATCH_IMPORT(m_tell, SetServiceStatus,
                 [this](SERVICE_STATUS_HANDLE, LPSERVICE_STATUS status) -> WINBOOL {
                     m_told.push_back(*status);
                     return TRUE;
                 });
};

TEST_F(ServiceRun, RunsAndEndsInOrder) {
    EXPECT_FALSE(Run([] { return 0; }));
    EXPECT_EQ(m_name, L"gpus");
    ASSERT_THAT(m_told, SizeIs(2));
    EXPECT_EQ(m_told[0].dwCurrentState, static_cast<DWORD>(SERVICE_RUNNING));
    EXPECT_EQ(m_told[0].dwControlsAccepted,
              static_cast<DWORD>(SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN));
    EXPECT_EQ(m_told[1].dwCurrentState, static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_EQ(m_told[1].dwWin32ExitCode, static_cast<DWORD>(ERROR_SUCCESS));
}

TEST_F(ServiceRun, TellsItsExitCodeAsItsOwn) {
    EXPECT_FALSE(Run([] { return 4; }));
    EXPECT_EQ(m_told.back().dwWin32ExitCode, static_cast<DWORD>(ERROR_SERVICE_SPECIFIC_ERROR));
    EXPECT_EQ(m_told.back().dwServiceSpecificExitCode, 4u);
}

TEST_F(ServiceRun, EndsTheRunWhenItIsAskedToStopOrTheSystemShutsDown) {
    for (const DWORD control : {DWORD{SERVICE_CONTROL_STOP}, DWORD{SERVICE_CONTROL_SHUTDOWN}}) {
        m_told.clear();
        CInterrupts interrupts;
        EXPECT_FALSE(Run([&] {
            EXPECT_EQ(Ask(control), static_cast<DWORD>(NO_ERROR));
            return 0;
        }));
        EXPECT_EQ(interrupts.Take(), 1u);
        ASSERT_THAT(m_told, SizeIs(3));
        EXPECT_EQ(m_told[1].dwCurrentState, static_cast<DWORD>(SERVICE_STOP_PENDING));
        EXPECT_EQ(m_told[1].dwControlsAccepted, 0u);
        EXPECT_EQ(m_told[1].dwWaitHint, kServiceStopPatienceMs);
    }
}

TEST_F(ServiceRun, AnswersWhatItIsAskedAndIsNotStoppedByIt) {
    CInterrupts interrupts;
    EXPECT_FALSE(Run([&] {
        EXPECT_EQ(Ask(SERVICE_CONTROL_INTERROGATE), static_cast<DWORD>(NO_ERROR));
        EXPECT_EQ(Ask(SERVICE_CONTROL_PAUSE), static_cast<DWORD>(ERROR_CALL_NOT_IMPLEMENTED));
        return 0;
    }));
    EXPECT_EQ(interrupts.Take(), 0u);
}

// Plays the console, too.
class Logoff : public ServiceRun {
  protected:
    PHANDLER_ROUTINE m_console = nullptr;
    PATCH_IMPORT(m_setHandler, SetConsoleCtrlHandler,
                 [this](PHANDLER_ROUTINE handler, WINBOOL) -> WINBOOL {
                     m_console = handler;
                     return TRUE;
                 });
    PATCH_IMPORT(m_wait, WaitForSingleObject, [](HANDLE, DWORD) -> DWORD { return WAIT_OBJECT_0; });
};

TEST_F(Logoff, EndsARunThatBelongsToTheUser) {
    CInterrupts interrupts;
    ASSERT_FALSE(interrupts.Install());
    EXPECT_TRUE(m_console(CTRL_LOGOFF_EVENT));
    EXPECT_EQ(interrupts.Take(), 1u);
}

TEST_F(Logoff, DoesNotEndAServiceButShutdownDoes) {
    CInterrupts interrupts;
    ASSERT_FALSE(interrupts.Install());
    EXPECT_FALSE(Run([&] {
        EXPECT_TRUE(m_console(CTRL_LOGOFF_EVENT));
        EXPECT_EQ(interrupts.Take(), 0u);
        EXPECT_TRUE(m_console(CTRL_SHUTDOWN_EVENT));
        EXPECT_EQ(interrupts.Take(), 1u);
        return 0;
    }));
}

}  // namespace
}  // namespace zorvane
