#include "src/amdsdk/utility.h"
#include "tests/unit/amdsdk/driverservicefixture.h"

namespace {

class CDeleteDriverTest : public CDriverServiceTest {};

TEST_F(CDeleteDriverTest, StopsAndDeletesTheServiceAndClosesServiceThenManager) {
    DeleteDriver();
    EXPECT_EQ(m_calls, (Lines{m_openManager, OpenService("manager1"),
                              "ControlService(service1, 1, not null)", "DeleteService(service1)",
                              Close("service1"), Close("manager1")}));
    EXPECT_EQ(m_log.Messages(), Lines{"[utility] DeleteService AMDRyzenMasterDriverV15 success."});
}

TEST_F(CDeleteDriverTest, ServiceThatCannotBeStoppedIsDeletedAllTheSame) {
    m_services.errors["ControlService"] = {ERROR_SERVICE_NOT_ACTIVE};
    DeleteDriver();
    EXPECT_EQ(m_log.Messages(), Lines{"[utility] DeleteService AMDRyzenMasterDriverV15 success."});
}

TEST_F(CDeleteDriverTest, ManagerThatCannotBeOpenedIsLogged) {
    m_services.errors["OpenSCManagerW"] = {ERROR_ACCESS_DENIED};
    DeleteDriver();
    EXPECT_EQ(m_calls, Lines{m_openManager});
    EXPECT_EQ(m_log.Messages(), Lines{"[utility] DeleteDriver OpenSCManager failed. 5"});
}

TEST_F(CDeleteDriverTest, ServiceThatCannotBeOpenedIsLoggedAndTheManagerClosed) {
    m_services.errors["OpenServiceW"] = {ERROR_SERVICE_DOES_NOT_EXIST};
    DeleteDriver();
    EXPECT_EQ(m_calls, (Lines{m_openManager, OpenService("manager1"), Close("manager1")}));
    EXPECT_EQ(m_log.Messages(), Lines{"[utility] DeleteDriver OpenService failed. 1060"});
}

TEST_F(CDeleteDriverTest, ServiceThatCannotBeDeletedIsLoggedAndBothAreClosed) {
    m_services.errors["DeleteService"] = {ERROR_SERVICE_MARKED_FOR_DELETE};
    DeleteDriver();
    EXPECT_EQ(m_calls, (Lines{m_openManager, OpenService("manager1"),
                              "ControlService(service1, 1, not null)", "DeleteService(service1)",
                              Close("service1"), Close("manager1")}));
    EXPECT_EQ(m_log.Messages(), Lines{"[utility] DeleteDriver DeleteService failed. 1072"});
}

TEST_F(CDeleteDriverTest, WordOnTheCommandLineKeepsTheServiceInAnyCaseAndInsideOtherWords) {
    for (const wchar_t* commandLine :
         {L"worker.exe skip_delete", L"worker.exe SKIP_DELETE --wnd=1", L"worker.exe Skip_Delete",
          L"worker.exe --entry=noskip_deleted", L"C:\\xSkIp_DeLeTey\\worker.exe"}) {
        m_executable.commandLine = commandLine;
        DeleteDriver();
        EXPECT_EQ(m_calls, Lines{}) << Quoted(commandLine);
    }
    EXPECT_EQ(m_log.Messages(), Lines{});
}

TEST_F(CDeleteDriverTest, SimilarWordsDoNotKeepTheService) {
    for (const wchar_t* commandLine :
         {L"", L"worker.exe", L"worker.exe skip delete", L"worker.exe skip-delete",
          L"worker.exe skip_delet", L"worker.exe skip_ delete"}) {
        m_executable.commandLine = commandLine;
        m_calls.clear();
        DeleteDriver();
        EXPECT_EQ(m_calls.size(), 6u) << Quoted(commandLine);
    }
}

}  // namespace
