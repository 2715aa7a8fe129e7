/** A fake of what the process says about its executable. */
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "tests/support/importpatch.h"

/**
 * While it exists, this program gets `commandLine` and `path` as its own command line and the path
 * of its executable. Both may change at any time.
 */
class CFakeExecutable {
  public:
    explicit CFakeExecutable(std::wstring executable = L"C:\\Apps\\Qorvella\\worker.exe")
        : path(std::move(executable)) {}

    std::wstring path;
    std::wstring commandLine = L"worker.exe --wnd=1";
    /** The buffer sizes of the calls that asked for the path; -1 for a buffer that was not zeroed.
     */
    std::vector<int> questions;

  private:
    DWORD CopyPath(wchar_t* buffer, DWORD size);

    PATCH_IMPORT(m_commandLine, GetCommandLineW, [this] { return commandLine.data(); });
    PATCH_IMPORT(m_fileName, GetModuleFileNameW, [this](HMODULE module, LPWSTR buffer, DWORD size) {
        return module ? m_fileName.Original(module, buffer, size) : CopyPath(buffer, size);
    });
};
