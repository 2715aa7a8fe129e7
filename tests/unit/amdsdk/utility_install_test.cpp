#include "src/amdsdk/utility.h"
#include "src/log/logger.h"
#include "tests/unit/amdsdk/driverservicefixture.h"

namespace {

// The device cannot be opened at first, so that the service is looked after.
class CInstallDriverTest : public CDriverServiceTest {
  protected:
    void SetUp() override { m_services.errors["CreateFileW"] = {ERROR_FILE_NOT_FOUND}; }

    Lines Logged(const std::string& text) const { return {"[utility] " + text}; }
    Lines CreatedAndStarted() const {
        return {m_openDevice, m_openManager, CreateService("manager1"), StartService("service1")};
    }
};

TEST_F(CInstallDriverTest, DeviceThatOpensAlreadyIsKeptOpenAndNothingElseIsTouched) {
    m_services.errors.clear();
    EXPECT_EQ(InstallDriver(), 1);
    EXPECT_EQ(m_calls, Lines{m_openDevice});
    EXPECT_EQ(m_log.Messages(), Lines{});
}

TEST_F(CInstallDriverTest, ManagerThatCannotBeOpenedIsLogged) {
    m_services.errors["OpenSCManagerW"] = {ERROR_ACCESS_DENIED};
    EXPECT_EQ(InstallDriver(), 0);
    EXPECT_EQ(m_calls, (Lines{m_openDevice, m_openManager}));
    EXPECT_EQ(m_log.Messages(), Logged("OpenSCManager failed. 5"));
}

TEST_F(CInstallDriverTest, CreatesAndStartsTheServiceAndLeavesTheDeviceOpen) {
    EXPECT_EQ(InstallDriver(), 1);
    EXPECT_EQ(m_calls,
              Join(CreatedAndStarted(), {m_openDevice, Close("service1"), Close("manager1")}));
    EXPECT_EQ(m_log.Messages(), Logged("InstallDriver success. " + m_path));
}

TEST_F(CInstallDriverTest, DeviceThatDoesNotOpenAfterTheStartIsLogged) {
    m_services.errors["CreateFileW"] = {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED};
    EXPECT_EQ(InstallDriver(), 0);
    EXPECT_EQ(m_calls,
              Join(CreatedAndStarted(), {m_openDevice, Close("service1"), Close("manager1")}));
    EXPECT_EQ(m_log.Messages(), Logged(m_path + " CreateFile again failed. 5"));
}

TEST_F(CInstallDriverTest, ServiceThatExistsOrIsMarkedForDeletionIsOpenedAndStarted) {
    constexpr DWORD kErrors[] = {ERROR_SERVICE_MARKED_FOR_DELETE, ERROR_SERVICE_EXISTS};
    for (const DWORD error : kErrors) {
        SCOPED_TRACE(error);
        const CTestLog log;
        m_services.errors["CreateFileW"] = {ERROR_FILE_NOT_FOUND};
        m_services.errors["CreateServiceW"] = {error};
        m_calls.clear();
        EXPECT_EQ(InstallDriver(), 1);
        const std::string number = std::to_string(error - ERROR_SERVICE_MARKED_FOR_DELETE + 1);
        const std::string manager = "manager" + number;
        const std::string service = "service" + number;
        EXPECT_EQ(m_calls,
                  (Lines{m_openDevice, m_openManager, CreateService(manager), OpenService(manager),
                         StartService(service), m_openDevice, Close(service), Close(manager)}));
        EXPECT_EQ(log.Messages(),
                  Join(Logged(m_path + " CreateService error: " + std::to_string(error)),
                       Logged("InstallDriver success. " + m_path)));
    }
}

TEST_F(CInstallDriverTest, ExistingServiceThatCannotBeOpenedIsLoggedWithBothErrors) {
    m_services.errors["CreateServiceW"] = {ERROR_SERVICE_EXISTS};
    m_services.errors["OpenServiceW"] = {ERROR_ACCESS_DENIED};
    EXPECT_EQ(InstallDriver(), 0);
    EXPECT_EQ(m_calls, (Lines{m_openDevice, m_openManager, CreateService("manager1"),
                              OpenService("manager1"), Close("manager1")}));
    EXPECT_EQ(m_log.Messages(), Join(Logged(m_path + " CreateService error: 1073"),
                                     Logged(m_path + " OpenService failed. 1073, 5")));
}

TEST_F(CInstallDriverTest, AnyOtherFailureOfTheCreationIsFoundOutByStartingNothing) {
    m_services.errors["CreateServiceW"] = {ERROR_ACCESS_DENIED};
    m_services.errors["StartServiceW"] = {ERROR_INVALID_HANDLE};
    EXPECT_EQ(InstallDriver(), 0);
    EXPECT_EQ(m_calls, (Lines{m_openDevice, m_openManager, CreateService("manager1"),
                              StartService("null"), Close("manager1")}));
    EXPECT_EQ(m_log.Messages(), Join(Logged(m_path + " CreateService error: 5"),
                                     Logged(m_path + " Service not running. 6")));
}

TEST_F(CInstallDriverTest, ServiceThatRunsAlreadyCountsAsStarted) {
    m_services.errors["StartServiceW"] = {ERROR_SERVICE_ALREADY_RUNNING};
    EXPECT_EQ(InstallDriver(), 1);
    EXPECT_EQ(m_calls,
              Join(CreatedAndStarted(), {m_openDevice, Close("service1"), Close("manager1")}));
    EXPECT_EQ(m_log.Messages(), Logged("InstallDriver success. " + m_path));
}

TEST_F(CInstallDriverTest, AnyOtherFailureOfTheStartIsLoggedAndTheServiceStaysRegistered) {
    m_services.errors["StartServiceW"] = {ERROR_FILE_NOT_FOUND};
    EXPECT_EQ(InstallDriver(), 0);
    EXPECT_EQ(m_calls, Join(CreatedAndStarted(), {Close("service1"), Close("manager1")}));
    EXPECT_EQ(m_log.Messages(), Logged(m_path + " Service not running. 2"));
}

// A start that fails because the registered file is not there any more.
class CFileGoneTest : public CInstallDriverTest {
  protected:
    void SetUp() override {
        CInstallDriverTest::SetUp();
        m_services.errors["StartServiceW"] = {ERROR_PATH_NOT_FOUND};
    }

    Lines Deleted() const { return Join(CreatedAndStarted(), {"DeleteService(service1)"}); }
    Lines CreatedAgain() const {
        return Join(Deleted(), {Close("service1"), CreateService("manager1")});
    }
};

TEST_F(CFileGoneTest, ServiceIsDeletedClosedAndCreatedAfresh) {
    EXPECT_EQ(InstallDriver(), 1);
    EXPECT_EQ(m_calls, Join(CreatedAgain(), {StartService("service2"), m_openDevice,
                                             Close("service2"), Close("manager1")}));
    EXPECT_EQ(m_log.Messages(), Logged("InstallDriver success. " + m_path));
}

TEST_F(CFileGoneTest, ExistingServiceIsMadeAfreshToo) {
    m_services.errors["CreateServiceW"] = {ERROR_SERVICE_EXISTS};
    EXPECT_EQ(InstallDriver(), 1);
    EXPECT_EQ(m_calls,
              (Lines{m_openDevice, m_openManager, CreateService("manager1"),
                     OpenService("manager1"), StartService("service1"), "DeleteService(service1)",
                     Close("service1"), CreateService("manager1"), StartService("service2"),
                     m_openDevice, Close("service2"), Close("manager1")}));
}

TEST_F(CFileGoneTest, ServiceThatCannotBeDeletedIsLogged) {
    m_services.errors["DeleteService"] = {ERROR_ACCESS_DENIED};
    EXPECT_EQ(InstallDriver(), 0);
    EXPECT_EQ(m_calls, Join(Deleted(), {Close("service1"), Close("manager1")}));
    EXPECT_EQ(m_log.Messages(), Logged(m_path + " DeleteService failed. 5"));
}

TEST_F(CFileGoneTest, SecondCreationTreatsNoErrorSpecially) {
    constexpr DWORD kErrors[] = {ERROR_ACCESS_DENIED, ERROR_SERVICE_MARKED_FOR_DELETE,
                                 ERROR_SERVICE_EXISTS};
    for (const DWORD error : kErrors) {
        SCOPED_TRACE(error);
        const CTestLog log;
        m_services.errors["CreateFileW"] = {ERROR_FILE_NOT_FOUND};
        m_services.errors["StartServiceW"] = {ERROR_PATH_NOT_FOUND};
        m_services.errors["CreateServiceW"] = {0, error};
        m_calls.clear();
        EXPECT_EQ(InstallDriver(), 0);
        ASSERT_GE(m_calls.size(), 3u);
        EXPECT_THAT(Lines(m_calls.end() - 3, m_calls.end()),
                    testing::ElementsAre(testing::StartsWith("CloseServiceHandle(service"),
                                         testing::StartsWith("CreateServiceW("),
                                         testing::StartsWith("CloseServiceHandle(manager")));
        EXPECT_EQ(log.Messages(),
                  Logged(m_path + " CreateService failed. " + std::to_string(error)));
    }
}

TEST_F(CFileGoneTest, SecondStartTreatsNoErrorSpecially) {
    constexpr DWORD kErrors[] = {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND,
                                 ERROR_SERVICE_ALREADY_RUNNING};
    for (const DWORD error : kErrors) {
        SCOPED_TRACE(error);
        const CTestLog log;
        m_services.errors["CreateFileW"] = {ERROR_FILE_NOT_FOUND};
        m_services.errors["StartServiceW"] = {ERROR_PATH_NOT_FOUND, error};
        m_calls.clear();
        EXPECT_EQ(InstallDriver(), 0);
        ASSERT_GE(m_calls.size(), 3u);
        EXPECT_THAT(Lines(m_calls.end() - 3, m_calls.end()),
                    testing::ElementsAre(testing::StartsWith("StartServiceW(service"),
                                         testing::StartsWith("CloseServiceHandle(service"),
                                         testing::StartsWith("CloseServiceHandle(manager")));
        EXPECT_EQ(log.Messages(),
                  Logged(m_path + " StartService failed. " + std::to_string(error)));
    }
}

TEST_F(CInstallDriverTest, PathIsTheFolderOfTheExecutableJoinedLiterally) {
    m_executable.path = L"D:\\worker.exe";
    EXPECT_EQ(InstallDriver(), 1);
    EXPECT_EQ(m_log.Messages(), Logged("InstallDriver success. D:\\\\AMDRyzenMasterDriver.sys"));
}

TEST_F(CInstallDriverTest, PathWithAPercentSignIsNoFormat) {
    m_executable.path = L"D:\\100%s%n\\worker.exe";
    EXPECT_EQ(InstallDriver(), 1);
    EXPECT_EQ(m_log.Messages(),
              Logged("InstallDriver success. D:\\100%s%n\\AMDRyzenMasterDriver.sys"));
}

TEST_F(CInstallDriverTest, StepsAreTheSameWhenTheLogIsSilent) {
    ZorLog::SetLogLevel(ZorLog::kLevelOff);
    m_services.errors["CreateServiceW"] = {ERROR_ACCESS_DENIED};
    m_services.errors["StartServiceW"] = {ERROR_INVALID_HANDLE};
    EXPECT_EQ(InstallDriver(), 0);
    EXPECT_EQ(m_calls.size(), 5u);
}

}  // namespace
