// Windows' list of services, with a service of this test's own that nobody starts.
#include "monitor/service/servicecontrol.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/driverservice.h"
#include "tests/support/importpatch.h"

namespace zorvane {
namespace {

class ServiceControl : public testing::Test {
  protected:
    void SetUp() override {
        if (!IsWine()) {
            GTEST_SKIP() << "makes a service";
        }
    }
    void TearDown() override {
        bool existed = false;
        EXPECT_FALSE(RemoveService(kName, existed));
    }

    static ServiceDefinition Definition(const std::wstring& words = L"") {
        return {kName, L"\"C:\\no such\\program.exe\" service run" + words, L"LocalSystem"};
    }

    static std::optional<ServiceState> State() {
        std::optional<ServiceState> state;
        EXPECT_FALSE(QueryService(kName, state));
        return state;
    }

    static constexpr wchar_t kName[] = L"zorvanemon unit test";
};

TEST_F(ServiceControl, InstallsAStoppedServiceAndRemovesIt) {
    ServiceChange change = ServiceChange::kChanged;
    ASSERT_FALSE(InstallService(Definition(), change));
    EXPECT_EQ(change, ServiceChange::kCreated);
    const auto state = State();
    ASSERT_TRUE(state);
    EXPECT_EQ(state->state, static_cast<DWORD>(SERVICE_STOPPED));
    EXPECT_EQ(state->processId, 0u);
    EXPECT_EQ(state->commandLine, L"\"C:\\no such\\program.exe\" service run");
    EXPECT_EQ(state->account, L"LocalSystem");
    bool existed = false;
    ASSERT_FALSE(RemoveService(kName, existed));
    EXPECT_TRUE(existed);
    EXPECT_FALSE(State());
}

TEST_F(ServiceControl, ChangesAServiceThatIsThere) {
    ServiceChange change = ServiceChange::kCreated;
    ASSERT_FALSE(InstallService(Definition(), change));
    ASSERT_FALSE(InstallService(Definition(L" watch"), change));
    EXPECT_EQ(change, ServiceChange::kChanged);
    const auto state = State();
    ASSERT_TRUE(state);
    EXPECT_EQ(state->commandLine, L"\"C:\\no such\\program.exe\" service run watch");
}

TEST_F(ServiceControl, RemovesNothingWithoutAnError) {
    bool existed = true;
    EXPECT_FALSE(RemoveService(kName, existed));
    EXPECT_FALSE(existed);
}

TEST_F(ServiceControl, AsksToBeStartedAgainAfterEveryFailure) {
    DWORD pause = 0;
    bool countsExitCodes = false;
    PATCH_IMPORT(
        change, ChangeServiceConfig2W, [&](SC_HANDLE, DWORD level, LPVOID info) -> WINBOOL {
            if (level == SERVICE_CONFIG_FAILURE_ACTIONS) {
                const auto* actions = static_cast<SERVICE_FAILURE_ACTIONSW*>(info);
                pause = actions->cActions > 0 && actions->lpsaActions[0].Type == SC_ACTION_RESTART
                            ? actions->lpsaActions[0].Delay
                            : 0;
            }
            if (level == SERVICE_CONFIG_FAILURE_ACTIONS_FLAG) {
                countsExitCodes = static_cast<SERVICE_FAILURE_ACTIONS_FLAG*>(info)
                                      ->fFailureActionsOnNonCrashFailures;
            }
            return TRUE;
        });
    ServiceChange made = ServiceChange::kChanged;
    ASSERT_FALSE(InstallService(Definition(), made));
    EXPECT_EQ(pause, 60000u);
    EXPECT_TRUE(countsExitCodes);
}

TEST_F(ServiceControl, NamesTheCallThatIsDenied) {
    ServiceChange change = ServiceChange::kChanged;
    std::optional<CallError> error;
    {
        PATCH_IMPORT(open, OpenSCManagerW, [](LPCWSTR, LPCWSTR, DWORD) -> SC_HANDLE {
            SetLastError(ERROR_ACCESS_DENIED);
            return nullptr;
        });
        error = InstallService(Definition(), change);
    }
    ASSERT_TRUE(error);
    EXPECT_EQ(error->call, "OpenSCManagerW");
    EXPECT_EQ(error->code, static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

}  // namespace
}  // namespace zorvane
