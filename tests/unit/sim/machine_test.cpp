#include "sim/machine/simulatemachine.h"

#include <objbase.h>
#include <shlobj.h>

#include <gmock/gmock.h>

#include <vector>

#include "sim/scenario/parsejson.h"
#include "sim/scenario/windowsfunctions.h"
#include "src/amdsdk/productname.h"
#include "src/amdsdk/servicehandle.h"
#include "src/amdsdk/utility.h"
#include "tests/support/importpatch.h"
#include "tests/unit/sim/simfixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;

constexpr wchar_t kDevice[] = L"\\\\.\\AMDRyzenMasterDriverV15";

// The test program itself runs on the simulated machine; without a scenario nothing is changed.
class CMachineTest : public CSimTest {
  protected:
    ~CMachineTest() override { s_machine = Machine(); }

    void Simulate(const std::string& json) {
        const nlohmann::json document = ParseJson(json);
        s_machine = ReadMachine(CJsonPlace(document));
        SimulateMachine(nullptr, s_machine);
    }

  private:
    // The imports stay replaced until the program ends.
    inline static Machine s_machine;
};

std::vector<BYTE> ReadOwnToken(TOKEN_INFORMATION_CLASS what) {
    HANDLE token = nullptr;
    EXPECT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
    std::vector<BYTE> bytes(256);
    DWORD size = 0;
    EXPECT_TRUE(
        GetTokenInformation(token, what, bytes.data(), static_cast<DWORD>(bytes.size()), &size))
        << GetLastError();
    CloseHandle(token);
    return bytes;
}

bool IsElevated() {
    const std::vector<BYTE> bytes = ReadOwnToken(TokenElevation);
    return reinterpret_cast<const TOKEN_ELEVATION*>(bytes.data())->TokenIsElevated != 0;
}

DWORD IntegrityLevel() {
    const std::vector<BYTE> bytes = ReadOwnToken(TokenIntegrityLevel);
    return *GetSidSubAuthority(
        reinterpret_cast<const TOKEN_MANDATORY_LABEL*>(bytes.data())->Label.Sid, 0);
}

TEST_F(CMachineTest, AdministratorHasRightsElevationAndHighIntegrity) {
    Simulate(R"({"administrator": true})");
    EXPECT_TRUE(IsUserAnAdmin());
    EXPECT_TRUE(IsElevated());
    EXPECT_EQ(IntegrityLevel(), static_cast<DWORD>(SECURITY_MANDATORY_HIGH_RID));
}

TEST_F(CMachineTest, OrdinaryUserHasNoneOfThem) {
    Simulate(R"({"administrator": false})");
    EXPECT_FALSE(IsUserAnAdmin());
    EXPECT_FALSE(IsElevated());
    EXPECT_EQ(IntegrityLevel(), static_cast<DWORD>(SECURITY_MANDATORY_MEDIUM_RID));
    EXPECT_THAT(Calls(), ElementsAre("IsUserAnAdmin() = 0"));
}

TEST_F(CMachineTest, OrdinaryUserMayOnlyLookAtServices) {
    Simulate(R"({"administrator": false})");
    EXPECT_FALSE(CServiceHandle(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_TRUE(CServiceHandle(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT)));
}

TEST_F(CMachineTest, AdministratorMayChangeServices) {
    Simulate(R"({"administrator": true})");
    EXPECT_TRUE(CServiceHandle(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)));
}

bool IsProductType(BYTE type) {
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    version.wProductType = type;
    return VerifyVersionInfoW(&version, VER_PRODUCT_TYPE,
                              VerSetConditionMask(0, VER_PRODUCT_TYPE, VER_EQUAL));
}

template <class Function>
Function* NtFunction(const char* name) {
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name)));
}

TEST_F(CMachineTest, WindowsHasTheVersionOfTheScenario) {
    Simulate(R"({"windows": {"major": 6, "minor": 3, "build": 9600}})");
    EXPECT_TRUE(IsProductType(VER_NT_WORKSTATION));
    EXPECT_FALSE(IsProductType(VER_NT_SERVER));
    DWORD major = 0;
    DWORD minor = 0;
    DWORD build = 0;
    NtFunction<void WINAPI(DWORD*, DWORD*, DWORD*)>("RtlGetNtVersionNumbers")(&major, &minor,
                                                                              &build);
    EXPECT_EQ(major, 6u);
    EXPECT_EQ(minor, 3u);
    EXPECT_EQ(build, 0xF0000000u | 9600u);
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    EXPECT_EQ(NtFunction<LONG WINAPI(OSVERSIONINFOEXW*)>("RtlGetVersion")(&version), 0);
    EXPECT_EQ(version.dwMajorVersion, 6u);
    EXPECT_EQ(version.dwMinorVersion, 3u);
    EXPECT_EQ(version.dwBuildNumber, 9600u);
    EXPECT_EQ(version.wProductType, VER_NT_WORKSTATION);
}

TEST_F(CMachineTest, WindowsCanBeAServer) {
    Simulate(R"({"windows": {"workstation": false}})");
    EXPECT_FALSE(IsProductType(VER_NT_WORKSTATION));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_OLD_WIN_VERSION));
    EXPECT_TRUE(IsProductType(VER_NT_SERVER));
}

TEST_F(CMachineTest, OtherFunctionsAreLookedUpAsEver) {
    Simulate(R"({"windows": {}})");
    EXPECT_EQ(NtFunction<void>("NoSuchFunction"), nullptr);
    EXPECT_NE(NtFunction<void>("NtClose"), nullptr);
}

TEST_F(CMachineTest, ProductHasTheNameOfTheScenario) {
    Simulate(R"({"productName": "Surf\u00e4ce"})");
    const CRegistryKey bios(HKEY_LOCAL_MACHINE, L"HARDWARE\\DESCRIPTION\\System\\BIOS", KEY_READ);
    EXPECT_EQ(bios.ReadText(L"SystemProductName"), L"Surf\u00e4ce");
}

TEST_F(CMachineTest, ProductNameNeedsRoomForItsNul) {
    Simulate(R"({"productName": "abc"})");
    BYTE text[8] = {};
    DWORD size = 7;
    DWORD type = 0;
    EXPECT_EQ(
        RegQueryValueExW(HKEY_LOCAL_MACHINE, L"SystemProductName", nullptr, &type, text, &size),
        ERROR_MORE_DATA);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(text[0], 0);
    EXPECT_EQ(
        RegQueryValueExW(HKEY_LOCAL_MACHINE, L"SystemProductName", nullptr, &type, text, &size),
        ERROR_SUCCESS);
    EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    EXPECT_STREQ(reinterpret_cast<const wchar_t*>(text), L"abc");
}

TEST_F(CMachineTest, OtherValuesOfTheRegistryAreTheRealOnes) {
    Simulate(R"({"productName": "abc"})");
    DWORD size = 0;
    EXPECT_EQ(
        RegQueryValueExW(HKEY_LOCAL_MACHINE, L"NoSuchValue", nullptr, nullptr, nullptr, &size),
        ERROR_FILE_NOT_FOUND);
}

TEST_F(CMachineTest, VbsQueryGivesTheStatusOfTheScenario) {
    for (const int32_t expected : {0, 1, 2}) {
        Simulate(R"({"vbs": )" + std::to_string(expected) + "}");
        uint32_t status = 99;
        EXPECT_EQ(QueryVbsStatus(&status), 0);
        EXPECT_EQ(status, static_cast<uint32_t>(expected));
    }
}

TEST_F(CMachineTest, VbsQueryCanFail) {
    Simulate(R"({"vbs": "unavailable"})");
    uint32_t status = 99;
    EXPECT_EQ(QueryVbsStatus(&status), 1);
    EXPECT_EQ(status, 99u);
}

// Calls each function of the service manager and the driver's device with handles that are none.
std::vector<DWORD> ErrorsOfAllFunctions() {
    std::vector<DWORD> errors;
    const auto note = [&](bool succeeded) { errors.push_back(succeeded ? 0 : GetLastError()); };
    SERVICE_STATUS status{};
    note(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS) != nullptr);
    note(OpenServiceW(nullptr, L"x", SERVICE_ALL_ACCESS) != nullptr);
    note(CreateServiceW(nullptr, L"x", L"x", 0, 0, 0, 0, L"x", nullptr, nullptr, nullptr, nullptr,
                        nullptr) != nullptr);
    note(QueryServiceStatus(nullptr, &status));
    note(StartServiceW(nullptr, 0, nullptr));
    note(ControlService(nullptr, SERVICE_CONTROL_STOP, &status));
    note(DeleteService(nullptr));
    note(CreateFileW(kDevice, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr) !=
         INVALID_HANDLE_VALUE);
    return errors;
}

TEST_F(CMachineTest, EveryFunctionOfTheDriverFailsWithItsError) {
    Simulate(R"({"results": {"OpenSCManagerW": 1001, "OpenServiceW": 1002, "CreateServiceW": 1003,
        "QueryServiceStatus": 1004, "StartServiceW": 1005, "ControlService": 1006,
        "DeleteService": 1007, "CreateFileW": 1008}})");
    EXPECT_THAT(ErrorsOfAllFunctions(),
                ElementsAre(1001, 1002, 1003, 1004, 1005, 1006, 1007, 1008));
    EXPECT_THAT(Calls(), Contains("StartServiceW() = 1005"));
}

TEST_F(CMachineTest, EveryFunctionOfTheDriverCanHang) {
    std::string results;
    for (const char* function : kWindowsFunctions) {
        results += (results.empty() ? "\"" : ", \"") + std::string(function) +
                   R"(": {"hang": 2, "result": 5})";
    }
    Simulate(R"({"results": {)" + results + "}}");
    std::vector<DWORD> sleeps;
    PATCH_IMPORT(sleep, Sleep, [&](DWORD milliseconds) { sleeps.push_back(milliseconds); });
    EXPECT_EQ(ErrorsOfAllFunctions(), std::vector<DWORD>(std::size(kWindowsFunctions), 5));
    EXPECT_EQ(sleeps, std::vector<DWORD>(std::size(kWindowsFunctions), 2000));
    EXPECT_THAT(Calls(), Contains("OpenServiceW() = hang"));
}

TEST_F(CMachineTest, CallWithoutASetErrorIsMadeForReal) {
    Simulate(R"({"results": {"OpenSCManagerW": {"perRead": [0, 1115]}, "CreateFileW": 5}})");
    EXPECT_TRUE(CServiceHandle(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT)));
    EXPECT_FALSE(CServiceHandle(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT)));
    EXPECT_EQ(GetLastError(), 1115u);
    const HANDLE file =
        CreateFileW(ScenarioFile().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    EXPECT_NE(file, INVALID_HANDLE_VALUE);
    CloseHandle(file);
}

}  // namespace
