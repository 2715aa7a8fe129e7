#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "src/amdsdk/amdsdktask.h"
#include "tests/support/fakeamdmachine.h"
#include "tests/support/testlog.h"

// The steps of Init: what each one calls, and that nothing is called after a step that fails.

namespace {

using testing::ElementsAre;
using Lines = std::vector<std::string>;

const Lines kBeforeVbs = {"IsUserAnAdmin()", "VerifyVersionInfoW()", "CPUID(0x0)",
                          "CPUID(0x80000001)"};

const Lines kProductName = {
    R"(RegOpenKeyExW(HKEY_LOCAL_MACHINE, "HARDWARE\DESCRIPTION\System\BIOS", 0, 0x20019))",
    R"(RegQueryValueExW("SystemProductName", 2048))",
};

const Lines kRunningDriver = {
    "OpenSCManagerW(null, null, 0xF003F)",
    R"(OpenServiceW(manager1, "AMDRyzenMasterDriverV15", 0xF01FF))",
    "QueryServiceStatus(service1)",
    "CloseServiceHandle(service1)",
    "CloseServiceHandle(manager1)",
};

const Lines kLibraryStart = {"Init", "GetDeviceManager", "GetDevice(0, 0)", "GetName",
                             "RegCloseKey()"};

Lines JoinAll(std::initializer_list<Lines> parts) {
    Lines all;
    for (const Lines& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

class CAmdTaskInitTest : public testing::Test {
  protected:
    CAmdTaskInitTest() { m_machine.calls.clear(); }

    // A processor for which VBS is queried.
    void UseOlderProcessor() { m_machine.signature = 0x800F11; }

    // Only the first `steps` calls of those before VBS were made.
    void ExpectFailureAfter(size_t steps, const Lines& messages) {
        EXPECT_EQ(m_task.Init(), 0);
        EXPECT_EQ(m_machine.calls,
                  Lines(kBeforeVbs.begin(), kBeforeVbs.begin() + static_cast<int>(steps)));
        EXPECT_EQ(m_log.Messages(), messages);
    }

    CTestLog m_log;
    CFakeAmdMachine m_machine;
    CAMDSDKTask m_task{&GetPlatform()};
};

TEST_F(CAmdTaskInitTest, UserMustBeAnAdministrator) {
    m_machine.isAdmin = false;
    ExpectFailureAfter(1, {"[amdsdktask] User is not admin..."});
}

TEST_F(CAmdTaskInitTest, SystemMustBeSupported) {
    m_machine.isWorkstation = false;
    ExpectFailureAfter(2,
                       {"[utility] IsSupportedOS not workstation",
                        "[amdsdktask] requires OS version greater than or equals to Windows 10."});
}

TEST_F(CAmdTaskInitTest, VendorMustBeAmd) {
    m_machine.vendor = VendorLeaf("GenuineIntel");
    ExpectFailureAfter(3, {"[amdsdktask] No AMD Processor is found!"});
}

TEST_F(CAmdTaskInitTest, VendorIsComparedWholeAndInTheOrderOfItsRegisters) {
    constexpr const char kVendors[][13] = {"AuthenticAMd", "authenticAMD", "AuthcAMDenti",
                                           "HygonGenuine", "AMDisbetter!", "            "};
    for (const auto& vendor : kVendors) {
        m_machine.vendor = VendorLeaf(vendor);
        EXPECT_EQ(m_task.Init(), 0) << vendor;
    }
    m_machine.vendor = {};
    EXPECT_EQ(m_task.Init(), 0);
    const Lines messages = m_log.Messages();
    EXPECT_EQ(messages, Lines(7, "[amdsdktask] No AMD Processor is found!"));
}

TEST_F(CAmdTaskInitTest, ProcessorMustBeSupported) {
    m_machine.signature = 0xA20F10;
    ExpectFailureAfter(
        4, {"[amdsdktask] pkgType:2, CPUID:10620688", "[amdsdktask] Not Supported Processor!"});
}

TEST_F(CAmdTaskInitTest, ActiveVbsEndsTheStartOnAnOlderProcessor) {
    UseOlderProcessor();
    m_machine.wmi.AddInstance(Number(2));
    EXPECT_EQ(m_task.Init(), 0);
    ASSERT_GT(m_machine.calls.size(), kBeforeVbs.size());
    EXPECT_EQ(m_machine.calls[kBeforeVbs.size()], "CoInitializeEx(null, 0)");
    EXPECT_EQ(m_machine.calls.back(), "CoUninitialize()");
    EXPECT_THAT(m_log.Messages(),
                ElementsAre("[amdsdktask] pkgType:2, CPUID:8392465",
                            "[amdsdktask] Please disable VBS and re-start brevano."));
}

TEST_F(CAmdTaskInitTest, VbsThatIsConfiguredAndDoesNotRunCountsAsActive) {
    UseOlderProcessor();
    m_machine.wmi.AddInstance(Number(1));
    EXPECT_EQ(m_task.Init(), 0);
    EXPECT_EQ(m_machine.calls.back(), "CoUninitialize()");
}

TEST_F(CAmdTaskInitTest, VbsThatIsOffLetsTheStartGoOn) {
    UseOlderProcessor();
    m_machine.wmi.AddInstance(Number(0));
    EXPECT_EQ(m_task.Init(), 1);
}

TEST_F(CAmdTaskInitTest, VbsQueryWithoutAnAnswerCountsAsOff) {
    UseOlderProcessor();
    EXPECT_EQ(m_task.Init(), 1);
    EXPECT_THAT(m_machine.calls, testing::Contains("Next(-1, 1)"));
}

TEST_F(CAmdTaskInitTest, VbsQueryThatFailsLetsTheStartGoOn) {
    UseOlderProcessor();
    m_machine.wmi.results["CoInitializeSecurity"] = RPC_E_TOO_LATE;
    m_machine.wmi.AddInstance(Number(2));
    EXPECT_EQ(m_task.Init(), 1);
    EXPECT_EQ(m_machine.calls,
              JoinAll({kBeforeVbs,
                       {"CoInitializeEx(null, 0)",
                        "CoInitializeSecurity(null, -1, null, null, 0, 3, null, 0, null)",
                        "CoUninitialize()"},
                       kProductName,
                       kRunningDriver,
                       kLibraryStart}));
}

TEST_F(CAmdTaskInitTest, NewerProcessorStartsWithoutALookAtVbs) {
    m_machine.wmi.AddInstance(Number(2));
    EXPECT_EQ(m_task.Init(), 1);
    EXPECT_EQ(m_machine.calls, JoinAll({kBeforeVbs, kProductName, kRunningDriver, kLibraryStart}));
    EXPECT_THAT(
        m_log.Messages(),
        ElementsAre("[amdsdktask] pkgType:2, CPUID:8851216", "[amdsdktask] product_name:Board",
                    "[amdsdktask] cpu name:AMD Ryzen 7 3700X 8-Core Processor"));
}

TEST_F(CAmdTaskInitTest, SkippedProductEndsTheStartAndClosesTheKey) {
    m_machine.product = L"SURFACE laptop 3";
    EXPECT_EQ(m_task.Init(), 0);
    EXPECT_EQ(m_machine.calls, JoinAll({kBeforeVbs, kProductName, {"RegCloseKey()"}}));
    EXPECT_THAT(m_log.Messages(), ElementsAre("[amdsdktask] pkgType:2, CPUID:8851216",
                                              "[amdsdktask] product_name:SURFACE laptop 3",
                                              "[amdsdktask] product skip"));
}

TEST_F(CAmdTaskInitTest, SkippedProductWithATrailingBlankIsAnother) {
    m_machine.product = L"Surface Laptop 3 ";
    EXPECT_EQ(m_task.Init(), 1);
    EXPECT_THAT(m_log.Messages(), testing::Contains("[amdsdktask] product_name:Surface Laptop 3 "));
}

TEST_F(CAmdTaskInitTest, KeyThatDoesNotOpenIsNeitherReadNorClosed) {
    m_machine.openKeyResult = ERROR_FILE_NOT_FOUND;
    EXPECT_EQ(m_task.Init(), 1);
    EXPECT_EQ(m_machine.calls, JoinAll({kBeforeVbs,
                                        {kProductName[0]},
                                        kRunningDriver,
                                        Lines(kLibraryStart.begin(), kLibraryStart.end() - 1)}));
    EXPECT_THAT(m_log.Messages(), Not(testing::Contains(testing::HasSubstr("product_name"))));
}

TEST_F(CAmdTaskInitTest, NameThatCannotBeReadOrIsNoTextDoesNotStopTheStart) {
    m_machine.product = L"Surface Laptop 3";
    m_machine.queryValueResult = ERROR_FILE_NOT_FOUND;
    EXPECT_EQ(m_task.Init(), 1);
    m_machine.queryValueResult = ERROR_SUCCESS;
    m_machine.productType = REG_BINARY;
    EXPECT_EQ(m_task.Init(), 1);
    EXPECT_EQ(std::count(m_machine.calls.begin(), m_machine.calls.end(), "RegCloseKey()"), 2);
    EXPECT_THAT(m_log.Messages(), Not(testing::Contains(testing::HasSubstr("product_name"))));
}

TEST_F(CAmdTaskInitTest, ProductNameWithAPercentSignIsNoFormat) {
    m_machine.product = L"100%s%n";
    EXPECT_EQ(m_task.Init(), 1);
    EXPECT_THAT(m_log.Messages(), testing::Contains("[amdsdktask] product_name:100%s%n"));
}

class CAmdTaskDriverTest : public CAmdTaskInitTest {
  protected:
    // The names of the functions called between reading the product name and closing its key.
    Lines CallsAfterProductName() const {
        Lines names;
        for (size_t i = kBeforeVbs.size() + kProductName.size(); i < m_machine.calls.size(); ++i) {
            const std::string& call = m_machine.calls[i];
            names.push_back(call.substr(0, call.find('(')));
        }
        return names;
    }
    Lines MessagesAfterProductName() const {
        const Lines messages = m_log.Messages();
        return {messages.begin() + 2, messages.end()};
    }
};

TEST_F(CAmdTaskDriverTest, MissingServiceIsInstalledAndTheLibraryAskedOnceMore) {
    m_machine.services.errors["OpenServiceW"] = {ERROR_SERVICE_DOES_NOT_EXIST};
    m_machine.services.errors["CreateFileW"] = {ERROR_FILE_NOT_FOUND};
    EXPECT_EQ(m_task.Init(), 1);
    EXPECT_THAT(CallsAfterProductName(),
                ElementsAre("OpenSCManagerW", "OpenServiceW", "CloseServiceHandle", "CreateFileW",
                            "OpenSCManagerW", "CreateServiceW", "StartServiceW", "CreateFileW",
                            "CloseServiceHandle", "CloseServiceHandle", "GetPlatform", "Init",
                            "GetDeviceManager", "GetDevice", "GetName", "RegCloseKey"));
    EXPECT_THAT(
        MessagesAfterProductName(),
        ElementsAre("[utility] OpenService error. 1060",
                    "[amdsdktask] QueryDrvService failed. AMDRyzenMasterDriverV15",
                    R"([utility] InstallDriver success. C:\Apps\Qorvella\AMDRyzenMasterDriver.sys)",
                    "[amdsdktask] cpu name:AMD Ryzen 7 3700X 8-Core Processor"));
}

TEST_F(CAmdTaskDriverTest, StoppedServiceIsInstalledAnew) {
    m_machine.services.state = SERVICE_STOPPED;
    m_machine.services.errors["CreateFileW"] = {ERROR_FILE_NOT_FOUND};
    EXPECT_EQ(m_task.Init(), 1);
    EXPECT_THAT(MessagesAfterProductName(),
                ElementsAre("[utility] service is not running. 1",
                            "[utility] DeleteService AMDRyzenMasterDriverV15 success.",
                            "[amdsdktask] QueryDrvService failed. AMDRyzenMasterDriverV15",
                            testing::StartsWith("[utility] InstallDriver success. "),
                            testing::StartsWith("[amdsdktask] cpu name:")));
}

TEST_F(CAmdTaskDriverTest, DriverThatCannotBeInstalledIsLoggedAndTheStartGoesOn) {
    m_machine.services.errors["OpenSCManagerW"] = {ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED};
    m_machine.services.errors["CreateFileW"] = {ERROR_FILE_NOT_FOUND};
    EXPECT_EQ(m_task.Init(), 1);
    EXPECT_THAT(CallsAfterProductName(),
                ElementsAre("OpenSCManagerW", "CreateFileW", "OpenSCManagerW", "GetPlatform",
                            "Init", "GetDeviceManager", "GetDevice", "GetName", "RegCloseKey"));
    EXPECT_THAT(MessagesAfterProductName(),
                ElementsAre("[amdsdktask] QueryDrvService failed. AMDRyzenMasterDriverV15",
                            "[utility] OpenSCManager failed. 5",
                            "[amdsdktask] Unable to install driver AMDRyzenMasterDriver.sys",
                            testing::StartsWith("[amdsdktask] cpu name:")));
}

TEST_F(CAmdTaskDriverTest, LibraryIsStartedWithTwoNullPointers) {
    void* arguments[] = {this, this};
    m_machine.platform.init = [&arguments](void* first, void* second) {
        arguments[0] = first;
        arguments[1] = second;
        return true;
    };
    EXPECT_EQ(m_task.Init(), 1);
    EXPECT_EQ(arguments[0], nullptr);
    EXPECT_EQ(arguments[1], nullptr);
}

TEST_F(CAmdTaskDriverTest, LibraryThatDoesNotStartEndsTheStartAndTheKeyIsClosed) {
    m_machine.platform.init = nullptr;
    EXPECT_EQ(m_task.Init(), 0);
    EXPECT_EQ(m_machine.calls,
              JoinAll({kBeforeVbs, kProductName, kRunningDriver, {"Init", "RegCloseKey()"}}));
    EXPECT_EQ(MessagesAfterProductName(), Lines{"[amdsdktask] Platform init failed."});
}

TEST_F(CAmdTaskDriverTest, LibraryWithoutACpuIsReadyAllTheSame) {
    m_machine.platform.cpuName = nullptr;
    EXPECT_EQ(m_task.Init(), 1);
    EXPECT_EQ(m_machine.calls,
              JoinAll({kBeforeVbs,
                       kProductName,
                       kRunningDriver,
                       {"Init", "GetDeviceManager", "GetDevice(0, 0)", "RegCloseKey()"}}));
    EXPECT_EQ(MessagesAfterProductName(), Lines{});
}

TEST_F(CAmdTaskDriverTest, LongCpuNameIsLoggedWhole) {
    const std::wstring name = L"%s " + std::wstring(1000, L'x');
    m_machine.platform.cpuName = name.c_str();
    EXPECT_EQ(m_task.Init(), 1);
    EXPECT_EQ(MessagesAfterProductName(),
              Lines{"[amdsdktask] cpu name:%s " + std::string(1000, 'x')});
}

}  // namespace
