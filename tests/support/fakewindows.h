/** A scriptable fake of what Windows says about its version and processor architecture. */
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

/**
 * Answers what this program asks Windows about itself, for its own life; one at a time. As made, it
 * is Windows 10 for workstations on an AMD64 processor.
 */
class CFakeWindows {
  public:
    CFakeWindows();
    ~CFakeWindows();
    CFakeWindows(const CFakeWindows&) = delete;
    CFakeWindows& operator=(const CFakeWindows&) = delete;

    bool isWorkstation = true;
    bool hasNativeSystemInfo = true;
    WORD architecture = PROCESSOR_ARCHITECTURE_AMD64;
    bool hasIsWow64Process2 = true;
    BOOL isWow64Process2Result = TRUE;
    USHORT nativeMachine = IMAGE_FILE_MACHINE_I386;
    bool hasNtdll = true;
    bool hasVersionNumbers = true;
    DWORD major = 10;
    DWORD minor = 0;

    /** What was asked, in order. */
    std::vector<std::string> calls;

  private:
    struct Patches;

    std::unique_ptr<Patches> m_patches;
};
