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
 * Answers all that the AMD task asks the system, for its own life; one at a time. As made, it is a
 * machine on which every step succeeds, with a processor for which VBS is not queried, a driver
 * that runs, and a CPU of 47.5 degrees; a test changes what is to be different. All calls stand in
 * one list, in order. Only the version of Windows is the real one: a process asks for it once
 * (tests/support/fakewindows.h).
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
    /** How the key and the value of the product's name answer. */
    LSTATUS openKeyResult = ERROR_SUCCESS;
    LSTATUS queryValueResult = ERROR_SUCCESS;
    DWORD productType = REG_SZ;
    /** The value, which its NUL follows. */
    std::wstring product = L"Board";
    /** What every reading gives, in degrees Celsius. */
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
