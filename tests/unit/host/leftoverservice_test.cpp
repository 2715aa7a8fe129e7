#include "host/leftoverservice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fakeexecutable.h"
#include "tests/support/fakeservices.h"

using testing::Contains;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

class LeftoverService : public testing::Test {
  protected:
    // The calls are those behind the first look.
    void RemoveWhatWasNotThereBefore() {
        m_services.errors["OpenServiceW"] = {ERROR_SERVICE_DOES_NOT_EXIST};
        const CLeftoverService service;
        m_calls.clear();
        service.Remove();
    }

    std::vector<std::string> m_calls;
    CFakeServices m_services{m_calls};
    CFakeExecutable m_executable;
    std::wstring m_registered = L"\\??\\C:\\Apps\\Qorvella\\AMDRyzenMasterDriver.sys";
    bool m_isReadable = true;
    bool m_hasPath = true;
    DWORD m_size = sizeof(QUERY_SERVICE_CONFIGW);

  private:
    WINBOOL WriteConfig(LPQUERY_SERVICE_CONFIGW config, DWORD size, LPDWORD needed) {
        *needed = m_size;
        if (!m_isReadable) {
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        }
        if (size < *needed) {
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return FALSE;
        }
        *config = {};
        config->lpBinaryPathName = m_hasPath ? m_registered.data() : nullptr;
        return TRUE;
    }

    PATCH_IMPORT(m_config, QueryServiceConfigW,
                 [this](SC_HANDLE, LPQUERY_SERVICE_CONFIGW config, DWORD size, LPDWORD needed) {
                     return WriteConfig(config, size, needed);
                 });
};

}  // namespace

TEST_F(LeftoverService, IsRemovedWhenItWasNotThereBefore) {
    RemoveWhatWasNotThereBefore();
    EXPECT_THAT(m_calls, Contains(StartsWith("ControlService(")));
    EXPECT_THAT(m_calls, Contains(StartsWith("DeleteService(")));
}

TEST_F(LeftoverService, IsKnownByThePathOfItsDriverInAnyLetterCase) {
    m_registered = L"c:\\APPS\\qorvella\\amdryzenmasterdriver.SYS";
    RemoveWhatWasNotThereBefore();
    EXPECT_THAT(m_calls, Contains(StartsWith("DeleteService(")));
}

TEST_F(LeftoverService, IsLeftAloneWhenAnotherCopyOfTheProductHasRegisteredIt) {
    m_registered = L"\\??\\C:\\Other\\Qorvella\\AMDRyzenMasterDriver.sys";
    RemoveWhatWasNotThereBefore();
    EXPECT_THAT(m_calls, Not(Contains(StartsWith("DeleteService("))));
}

TEST_F(LeftoverService, IsLeftAloneWhenItsDriverFileCannotBeRead) {
    m_isReadable = false;
    RemoveWhatWasNotThereBefore();
    EXPECT_THAT(m_calls, Not(Contains(StartsWith("DeleteService("))));
}

TEST_F(LeftoverService, IsLeftAloneWhenItsDriverFileIsNotNamed) {
    m_services.errors["OpenServiceW"] = {ERROR_SERVICE_DOES_NOT_EXIST};
    const CLeftoverService service;
    m_calls.clear();
    m_registered = L"ster.sys";
    service.Remove();
    m_hasPath = false;
    service.Remove();
    m_size = sizeof(QUERY_SERVICE_CONFIGW) - 1;
    service.Remove();
    EXPECT_THAT(m_calls, Contains(StartsWith("OpenServiceW(")).Times(3));
    EXPECT_THAT(m_calls, Not(Contains(StartsWith("DeleteService("))));
}

TEST_F(LeftoverService, IsLeftAloneWhenTheServiceManagerIsClosedByThen) {
    m_services.errors["OpenServiceW"] = {ERROR_SERVICE_DOES_NOT_EXIST};
    const CLeftoverService service;
    m_calls.clear();
    m_services.errors["OpenSCManagerW"] = {ERROR_ACCESS_DENIED};
    service.Remove();
    EXPECT_THAT(m_calls, Not(Contains(StartsWith("OpenServiceW("))));
    EXPECT_THAT(m_calls, Not(Contains(StartsWith("DeleteService("))));
}

TEST_F(LeftoverService, IsLeftAloneWhenItWasThereBefore) {
    const CLeftoverService service;
    m_calls.clear();
    service.Remove();
    EXPECT_THAT(m_calls, IsEmpty());
}

TEST_F(LeftoverService, IsLeftAloneWhenNobodyKnowsWhetherItWasThere) {
    m_services.errors["OpenSCManagerW"] = {ERROR_ACCESS_DENIED};
    const CLeftoverService closedManager;
    m_services.errors["OpenServiceW"] = {ERROR_ACCESS_DENIED};
    const CLeftoverService closedService;
    m_calls.clear();
    closedManager.Remove();
    closedService.Remove();
    EXPECT_THAT(m_calls, IsEmpty());
}

TEST_F(LeftoverService, IsNotLookedForTwiceWhenTheLibraryHasRemovedIt) {
    m_services.errors["OpenServiceW"] = {ERROR_SERVICE_DOES_NOT_EXIST,
                                         ERROR_SERVICE_DOES_NOT_EXIST};
    CLeftoverService().Remove();
    EXPECT_THAT(m_calls, Not(Contains(StartsWith("DeleteService("))));
    EXPECT_THAT(m_calls, Not(Contains(testing::HasSubstr("0xF003F"))));
}

TEST_F(LeftoverService, StaysWithSkipDeleteOnTheCommandLine) {
    m_executable.commandLine = L"worker.exe --wnd=1 x=SKIP_Delete";
    m_services.errors["OpenServiceW"] = {ERROR_SERVICE_DOES_NOT_EXIST};
    CLeftoverService().Remove();
    EXPECT_THAT(m_calls, Not(Contains(StartsWith("DeleteService("))));
}
