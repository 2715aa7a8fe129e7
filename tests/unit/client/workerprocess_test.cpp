#include "client/workerprocess.h"

#include <gtest/gtest.h>

#include "base/messagewindow.h"
#include "tests/support/importpatch.h"
#include "tests/unit/client/fakeworker.h"

namespace zorvane {
namespace {

constexpr UINT kEndMessage = WM_APP + 7;
constexpr DWORD kTimeoutMs = 30000;

class WorkerProcessTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(m_window.Create([this](UINT message, WPARAM, LPARAM) {
            if (message == kEndMessage) {
                ++m_ends;
            }
            return std::optional<LRESULT>();
        }));
    }

    std::optional<CallError> Start(const WorkerCommand& command) {
        return m_process.Start(command, m_window.Handle(), m_window.Handle(), kEndMessage);
    }

    bool WaitForEnd() {
        return PumpUntil([this] { return m_ends > 0; });
    }

    CMessageWindow m_window;
    CWorkerProcess m_process;
    int m_ends = 0;
};

TEST_F(WorkerProcessTest, TellsTheWindowOfTheEndAndKeepsTheExitCode) {
    ASSERT_FALSE(Start(FakeWorker({L"exit:42"})));
    EXPECT_NE(m_process.Id(), 0u);
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(m_process.ExitCode(), 42u);
}

TEST_F(WorkerProcessTest, GivesTheCodeOfACrash) {
    ASSERT_FALSE(Start(FakeWorker({L"crash"})));
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(m_process.ExitCode(), static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION));
}

TEST_F(WorkerProcessTest, SetsVariablesForTheWorkerOnly) {
    WorkerCommand command = FakeWorker({L"env:ZORVANE_TEST_CODE"});
    command.environment = {{L"ZORVANE_TEST_CODE", L"23"}};
    ASSERT_FALSE(Start(command));
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(m_process.ExitCode(), 23u);
    EXPECT_EQ(GetEnvironmentVariableW(L"ZORVANE_TEST_CODE", nullptr, 0), 0u);
}

TEST_F(WorkerProcessTest, HasNoExitCodeWhileTheWorkerRuns) {
    ASSERT_FALSE(Start(FakeWorker({L"deaf", L"blind"})));
    EXPECT_EQ(m_process.ExitCode(), std::nullopt);
    EXPECT_EQ(m_process.Terminate(), std::nullopt);
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(m_process.ExitCode(), CWorkerProcess::kTerminatedCode);
}

TEST_F(WorkerProcessTest, LeavesTheWorkerRunningWhenItIsClosed) {
    ASSERT_FALSE(Start(FakeWorker({L"deaf"})));
    const CUniqueHandle process(
        OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, m_process.Id()));
    ASSERT_TRUE(process);
    m_process.Close();
    EXPECT_EQ(m_process.Id(), 0u);
    EXPECT_EQ(WaitForSingleObject(process.get(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
    m_window.Destroy();
    ASSERT_EQ(WaitForSingleObject(process.get(), kTimeoutMs), WAIT_OBJECT_0);
    DWORD code = 1;
    EXPECT_TRUE(GetExitCodeProcess(process.get(), &code));
    EXPECT_EQ(code, 0u);
}

TEST_F(WorkerProcessTest, HasNoExitCodeAfterItWasClosed) {
    ASSERT_FALSE(Start(FakeWorker({L"exit:42"})));
    ASSERT_TRUE(WaitForEnd());
    m_process.Close();
    EXPECT_EQ(m_process.ExitCode(), std::nullopt);
    EXPECT_EQ(m_process.Id(), 0u);
    EXPECT_EQ(m_process.Terminate(), std::nullopt) << "nothing is left to be ended";
}

TEST_F(WorkerProcessTest, TellsTheWorkerOfItsOwnProcess) {
    std::wstring line;
    PATCH_IMPORT(create, CreateProcessW,
                 [&](LPCWSTR, LPWSTR given, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, WINBOOL,
                     DWORD, LPVOID, LPCWSTR, LPSTARTUPINFOW, LPPROCESS_INFORMATION) -> WINBOOL {
                     line = given;
                     SetLastError(ERROR_ACCESS_DENIED);
                     return FALSE;
                 });
    ASSERT_TRUE(Start(FakeWorker({})));
    EXPECT_NE(line.find(L" --parent=" + IdentityText(OwnIdentity())), std::wstring::npos) << line;
}

TEST_F(WorkerProcessTest, NamesTheHostThatIsMissing) {
    WorkerCommand command = FakeWorker({});
    command.host = zorvane::ModuleFolder(nullptr) + L"missing host.exe";
    const auto error = Start(command);
    ASSERT_TRUE(error);
    EXPECT_NE(error->call.find("missing host.exe"), std::string::npos) << error->call;
    EXPECT_EQ(error->code, static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(m_process.Id(), 0u);
}

TEST_F(WorkerProcessTest, StartsNothingThatWouldInheritMoreThanStandardError) {
    PATCH_IMPORT(failing, UpdateProcThreadAttribute, [](auto...) -> WINBOOL {
        SetLastError(ERROR_NOT_SUPPORTED);
        return FALSE;
    });
    PATCH_IMPORT(create, CreateProcessW, [](auto...) -> WINBOOL {
        ADD_FAILURE() << "started";
        return FALSE;
    });
    const auto error = Start(FakeWorker({}));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->call, "UpdateProcThreadAttribute");
    EXPECT_EQ(m_process.Id(), 0u);
}

TEST_F(WorkerProcessTest, SaysWhyItCannotBeEnded) {
    ASSERT_FALSE(Start(FakeWorker({L"deaf", L"blind"})));
    {
        PATCH_IMPORT(denied, TerminateProcess, [](auto...) -> WINBOOL {
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
        const auto error = m_process.Terminate();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->call, "TerminateProcess");
        EXPECT_EQ(error->code, static_cast<DWORD>(ERROR_ACCESS_DENIED));
    }
    EXPECT_EQ(m_process.Terminate(), std::nullopt);
    ASSERT_TRUE(WaitForEnd());
}

TEST_F(WorkerProcessTest, IsNotToldOfAFailureToEndAProcessThatHasJustEnded) {
    ASSERT_FALSE(Start(FakeWorker({L"deaf", L"blind"})));
    PATCH_IMPORT(late, TerminateProcess, [&](HANDLE process, UINT) -> WINBOOL {
        late.Original(process, 0);
        EXPECT_EQ(WaitForSingleObject(process, kTimeoutMs), WAIT_OBJECT_0);
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    });
    EXPECT_EQ(m_process.Terminate(), std::nullopt);
    EXPECT_EQ(m_process.ExitCode(), 0u);
    ASSERT_TRUE(WaitForEnd());
}

TEST_F(WorkerProcessTest, HasNoExitCodeThatWindowsDoesNotTell) {
    ASSERT_FALSE(Start(FakeWorker({L"exit:42"})));
    ASSERT_TRUE(WaitForEnd());
    PATCH_IMPORT(code, GetExitCodeProcess, [](auto...) -> WINBOOL { return FALSE; });
    EXPECT_EQ(m_process.ExitCode(), std::nullopt);
}

TEST_F(WorkerProcessTest, LeavesNoProcessWhenItsEndCannotBeWatched) {
    DWORD id = 0;
    PATCH_IMPORT(refusing, RegisterWaitForSingleObject,
                 [&](PHANDLE, HANDLE process, WAITORTIMERCALLBACK, PVOID, ULONG, ULONG) -> WINBOOL {
                     id = GetProcessId(process);
                     SetLastError(ERROR_NOT_ENOUGH_MEMORY);
                     return FALSE;
                 });
    const auto error = Start(FakeWorker({L"deaf", L"blind"}));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->call, "RegisterWaitForSingleObject");
    EXPECT_EQ(m_process.Id(), 0u);
    const CUniqueHandle process(OpenProcess(SYNCHRONIZE, FALSE, id));
    EXPECT_TRUE(!process || WaitForSingleObject(process.get(), kTimeoutMs) == WAIT_OBJECT_0);
}

struct CreationCase {
    UINT codePage;
    bool hidesConsole;
};

class CreationFlagsTest : public WorkerProcessTest,
                          public testing::WithParamInterface<CreationCase> {};

TEST_P(CreationFlagsTest, KeepCtrlCFromTheWorkerAndOpenNoConsole) {
    PATCH_IMPORT(console, GetConsoleCP, []() -> UINT { return GetParam().codePage; });
    DWORD flags = 0;
    PATCH_IMPORT(
        create, CreateProcessW,
        [&](LPCWSTR, LPWSTR, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, WINBOOL, DWORD given,
            LPVOID, LPCWSTR, LPSTARTUPINFOW, LPPROCESS_INFORMATION) -> WINBOOL {
            flags = given;
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
    ASSERT_TRUE(Start(FakeWorker({})));
    EXPECT_NE(flags & CREATE_NEW_PROCESS_GROUP, 0u);
    EXPECT_EQ((flags & CREATE_NO_WINDOW) != 0, GetParam().hidesConsole);
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutConsole, CreationFlagsTest,
                         testing::Values(CreationCase{437, false}, CreationCase{0, true}));

}  // namespace
}  // namespace zorvane
