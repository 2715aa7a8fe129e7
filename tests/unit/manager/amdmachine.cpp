#include "tests/unit/manager/amdmachine.h"

#include <windows.h>

#include <shlobj.h>

#include "tests/support/fakecpuid.h"
#include "tests/support/fakeplatform.h"
#include "tests/support/importpatch.h"

namespace {

CAmdMachine* s_machine = nullptr;

// A Ryzen that may run with Virtualization-Based Security.
CpuidRegisters AnswerCpuid(uint32_t leaf) {
    return leaf == 0 ? VendorLeaf("AuthenticAMD") : CpuidRegisters{0x870F10, 0, 0, 0};
}

SC_HANDLE FakeService() { return reinterpret_cast<SC_HANDLE>(&s_machine); }

void PreparePlatform() {
    FakePlatform& platform = FakePlatform::Instance();
    platform.Reset();
    platform.init = [](void*, void*) { return true; };
    platform.cpuName = L"AMD Ryzen 7 3700X 8-Core Processor";
    platform.pmTable = [](PMTableData* data) {
        data->currentTemperature = s_machine->temperature;
        return 0;
    };
    platform.currentTemperature = [](double* temperature) {
        *temperature = s_machine->temperature;
        return 0;
    };
}

}  // namespace

struct CAmdMachine::Patches {
    const CFakeCpuid processor{AnswerCpuid};
    const CImportPatch<decltype(IsUserAnAdmin), -1> admin{
        "IsUserAnAdmin", [] { return s_machine->isAdmin ? TRUE : FALSE; }};
    const CImportPatch<decltype(VerifyVersionInfoW), -1> version{"VerifyVersionInfoW",
                                                                 [](auto...) { return TRUE; }};
    const CImportPatch<decltype(RegOpenKeyExW), -1> bios{
        "RegOpenKeyExW", [](auto...) { return ERROR_FILE_NOT_FOUND; }};
    const CImportPatch<decltype(OpenSCManagerW), -1> manager{"OpenSCManagerW",
                                                             [](auto...) { return FakeService(); }};
    const CImportPatch<decltype(OpenServiceW), -2> service{"OpenServiceW",
                                                           [](auto...) { return FakeService(); }};
    const CImportPatch<decltype(QueryServiceStatus), -1> query{
        "QueryServiceStatus", [](SC_HANDLE, SERVICE_STATUS* status) {
            status->dwCurrentState = SERVICE_RUNNING;
            return TRUE;
        }};
    const CImportPatch<decltype(ControlService), -1> control{"ControlService",
                                                             [](auto...) { return TRUE; }};
    const CImportPatch<decltype(DeleteService), -3> removal{"DeleteService",
                                                            [](SC_HANDLE) { return TRUE; }};
    const CImportPatch<decltype(CloseServiceHandle), -4> close{"CloseServiceHandle",
                                                               [](SC_HANDLE) { return TRUE; }};
};

CAmdMachine::CAmdMachine() {
    s_machine = this;
    PreparePlatform();
    m_patches = std::make_unique<Patches>();
}

CAmdMachine::~CAmdMachine() {
    m_patches.reset();
    FakePlatform::Instance().Reset();
    s_machine = nullptr;
}
