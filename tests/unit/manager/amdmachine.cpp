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
    PATCH_IMPORT(admin, IsUserAnAdmin, [] { return s_machine->isAdmin ? TRUE : FALSE; });
    PATCH_IMPORT(version, VerifyVersionInfoW, [](auto...) { return TRUE; });
    PATCH_IMPORT(bios, RegOpenKeyExW, [](auto...) { return ERROR_FILE_NOT_FOUND; });
    PATCH_IMPORT(manager, OpenSCManagerW, [](auto...) { return FakeService(); });
    PATCH_IMPORT(service, OpenServiceW, [](auto...) { return FakeService(); });
    PATCH_IMPORT(query, QueryServiceStatus, [](SC_HANDLE, SERVICE_STATUS* status) {
        status->dwCurrentState = SERVICE_RUNNING;
        return TRUE;
    });
    PATCH_IMPORT(control, ControlService, [](auto...) { return TRUE; });
    PATCH_IMPORT(removal, DeleteService, [](SC_HANDLE) { return TRUE; });
    PATCH_IMPORT(close, CloseServiceHandle, [](SC_HANDLE) { return TRUE; });
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
