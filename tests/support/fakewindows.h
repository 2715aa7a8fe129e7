/** A scriptable fake of what Windows says about its version and processor architecture. */
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

/**
 * While it exists, this program's questions about the Windows version and the architecture are
 * answered by the members; one at a time. The default is a Windows 10 workstation on AMD64.
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

    /** The calls, in order. */
    std::vector<std::string> calls;

  private:
    struct Patches;

    std::unique_ptr<Patches> m_patches;
};
