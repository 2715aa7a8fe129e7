/** A fake machine on which the AMD task works. */
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/fakecpuid.h"
#include "tests/support/fakeexecutable.h"
#include "tests/support/fakeplatform.h"
#include "tests/support/fakeservices.h"
#include "tests/support/fakewmi.h"

/**
 * While it exists, the AMD task runs on this machine instead of the real one; one at a time. By
 * default every step of the task succeeds: a supported processor for which VBS is not queried, a
 * running driver, a CPU at 47.5 degrees. A test changes the members that matter to it. All calls
 * are recorded in one list, in order. Only the Windows version is the real one, because a process
 * asks for it once; tests/support/fakewindows.h replaces that in processes of their own.
 */
class CFakeAmdMachine {
  public:
    CFakeAmdMachine();
    ~CFakeAmdMachine();
    CFakeAmdMachine(const CFakeAmdMachine&) = delete;
    CFakeAmdMachine& operator=(const CFakeAmdMachine&) = delete;

    bool isAdmin = true;
    bool isWorkstation = true;
    /** Leaf 0 of CPUID. */
    CpuidRegisters vendor = VendorLeaf("AuthenticAMD");
    /** EAX and EBX of leaf 0x80000001. */
    uint32_t signature = 0x870F10;
    uint32_t packageBits = 0x20000000;
    /** Results of opening the BIOS key and of reading the product name. */
    LSTATUS openKeyResult = ERROR_SUCCESS;
    LSTATUS queryValueResult = ERROR_SUCCESS;
    DWORD productType = REG_SZ;
    /** The product name; a NUL is appended. */
    std::wstring product = L"Board";
    /** The result of every reading, in degrees Celsius. */
    double temperature = 47.5;

    FakePlatform& platform = FakePlatform::Instance();
    std::vector<std::string>& calls = platform.calls;
    CFakeServices services{calls};
    CFakeExecutable executable;
    CFakeWmi wmi{calls};

  private:
    struct Patches;

    CpuidRegisters AnswerCpuid(uint32_t leaf);

    std::unique_ptr<Patches> m_patches;
    std::unique_ptr<CFakeCpuid> m_cpuid;
};
