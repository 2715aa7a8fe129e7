#include "src/amdsdk/utility.h"
#include "tests/unit/amdsdk/driverservicefixture.h"

namespace {

class CQueryDrvServiceTest : public CDriverServiceTest {};

TEST_F(CQueryDrvServiceTest, ManagerThatCannotBeOpenedIsMinusOneWithoutALogLine) {
    m_services.errors["OpenSCManagerW"] = {ERROR_ACCESS_DENIED};
    EXPECT_EQ(QueryDrvService(), -1);
    EXPECT_EQ(m_calls, Lines{m_openManager});
    EXPECT_EQ(m_log.Messages(), Lines{});
}

TEST_F(CQueryDrvServiceTest, ServiceThatCannotBeOpenedIsMinusTwoAndLogsTheErrorOfTheOpening) {
    m_services.errors["OpenServiceW"] = {ERROR_SERVICE_DOES_NOT_EXIST};
    EXPECT_EQ(QueryDrvService(), -2);
    EXPECT_EQ(m_calls, (Lines{m_openManager, OpenService("manager1"), Close("manager1")}));
    EXPECT_EQ(m_log.Messages(), Lines{"[utility] OpenService error. 1060"});
}

TEST_F(CQueryDrvServiceTest, RunningServiceIsZeroWithoutALogLine) {
    EXPECT_EQ(QueryDrvService(), 0);
    EXPECT_EQ(m_calls,
              (Lines{m_openManager, OpenService("manager1"), "QueryServiceStatus(service1)",
                     Close("service1"), Close("manager1")}));
    EXPECT_EQ(m_log.Messages(), Lines{});
}

TEST_F(CQueryDrvServiceTest, ResultOfTheStatusQueryIsNotLookedAt) {
    m_services.errors["QueryServiceStatus"] = {ERROR_ACCESS_DENIED};
    EXPECT_EQ(QueryDrvService(), 0);
}

TEST_F(CQueryDrvServiceTest, StoppedServiceIsDeletedWhileTheManagerIsStillOpen) {
    m_services.state = SERVICE_STOPPED;
    EXPECT_EQ(QueryDrvService(), -1);
    EXPECT_EQ(m_calls,
              (Lines{m_openManager, OpenService("manager1"), "QueryServiceStatus(service1)",
                     Close("service1"), m_openManager, OpenService("manager2"),
                     "ControlService(service2, 1, not null)", "DeleteService(service2)",
                     Close("service2"), Close("manager2"), Close("manager1")}));
    EXPECT_EQ(m_log.Messages(),
              (Lines{"[utility] service is not running. 1",
                     "[utility] DeleteService AMDRyzenMasterDriverV15 success."}));
}

TEST_F(CQueryDrvServiceTest, StoppedServiceIsKeptWhenTheCommandLineSaysSo) {
    m_services.state = SERVICE_STOPPED;
    m_executable.commandLine = L"worker.exe skip_delete";
    EXPECT_EQ(QueryDrvService(), -1);
    EXPECT_EQ(m_calls,
              (Lines{m_openManager, OpenService("manager1"), "QueryServiceStatus(service1)",
                     Close("service1"), Close("manager1")}));
    EXPECT_EQ(m_log.Messages(), Lines{"[utility] service is not running. 1"});
}

TEST_F(CQueryDrvServiceTest, EveryStateButRunningCountsAsNotRunning) {
    constexpr DWORD kStates[] = {SERVICE_STOPPED,       SERVICE_START_PENDING,
                                 SERVICE_STOP_PENDING,  SERVICE_CONTINUE_PENDING,
                                 SERVICE_PAUSE_PENDING, SERVICE_PAUSED};
    for (const DWORD state : kStates) {
        SCOPED_TRACE(state);
        m_services.state = state;
        EXPECT_EQ(QueryDrvService(), -1) << state;
        const Lines messages = m_log.Messages();
        ASSERT_GE(messages.size(), 2u);
        EXPECT_EQ(messages[messages.size() - 2],
                  "[utility] service is not running. " + std::to_string(state));
    }
}

}  // namespace
