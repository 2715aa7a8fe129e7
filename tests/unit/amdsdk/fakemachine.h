/** A machine for the AMD task to start on. */
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/fakecpuid.h"
#include "tests/support/fakeplatform.h"
#include "tests/support/fakeservices.h"
#include "tests/unit/amdsdk/fakewmi.h"

/**
 * Answers all that the AMD task asks the system when it starts, for its own life; one at a time. As
 * made, it is a machine on which every step succeeds, VBS is looked at and is off, and the driver
 * runs. All calls stand in one list, in order. Only the version of Windows is the real one's.
 */
class CFakeMachine {
  public:
    CFakeMachine();
    ~CFakeMachine();
    CFakeMachine(const CFakeMachine&) = delete;
    CFakeMachine& operator=(const CFakeMachine&) = delete;

    bool isAdmin = true;
    bool isWorkstation = true;
    /** Leaf 0 of CPUID. */
    CpuidRegisters vendor = VendorLeaf("AuthenticAMD");
    /** EAX and EBX of leaf 0x80000001. */
    uint32_t signature = 0x800F11;
    uint32_t packageBits = 0x20000000;
    /** How the key and the value of the product's name answer. */
    LSTATUS openKeyResult = ERROR_SUCCESS;
    LSTATUS queryValueResult = ERROR_SUCCESS;
    DWORD productType = REG_SZ;
    /** The value, which its NUL follows. */
    std::wstring product = L"Board";

    FakePlatform& platform = FakePlatform::Instance();
    std::vector<std::string>& calls = platform.calls;
    CFakeServices services{calls};
    CFakeWmi wmi{calls};

  private:
    struct Patches;

    CpuidRegisters AnswerCpuid(uint32_t leaf);

    std::unique_ptr<Patches> m_patches;
    std::unique_ptr<CFakeCpuid> m_cpuid;
};
