/** The fixture for tests of the driver service. */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/fakeexecutable.h"
#include "tests/support/fakeservices.h"
#include "tests/support/testlog.h"

using Lines = std::vector<std::string>;

/** The lines of `first`, then those of `second`. */
inline Lines Join(Lines first, const Lines& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/** A fake service control manager, and a log. */
class CDriverServiceTest : public testing::Test {
  protected:
    const std::string m_openManager = "OpenSCManagerW(null, null, 0xF003F)";
    const std::string m_openDevice =
        R"(CreateFileW("\\.\AMDRyzenMasterDriverV15", 0xC0000000, 3, null, 3, 0x80, null))";
    const std::string m_path = R"(C:\Apps\Qorvella\AMDRyzenMasterDriver.sys)";

    static std::string OpenService(const std::string& manager) {
        return "OpenServiceW(" + manager + R"(, "AMDRyzenMasterDriverV15", 0xF01FF))";
    }
    std::string CreateService(const std::string& manager) const {
        return "CreateServiceW(" + manager +
               R"(, "AMDRyzenMasterDriverV15", "AMDRyzenMasterDriverV15", 0xF01FF, 1, 2, 1, ")" +
               m_path + R"(", null, null, null, null, null))";
    }
    static std::string StartService(const std::string& service) {
        return "StartServiceW(" + service + ", 0, null)";
    }
    static std::string Close(const std::string& handle) {
        return "CloseServiceHandle(" + handle + ")";
    }

    CTestLog m_log;
    Lines m_calls;
    CFakeServices m_services{m_calls};
    CFakeExecutable m_executable;
};
