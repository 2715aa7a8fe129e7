/** A fake of what the process says about its executable. */
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "tests/support/importpatch.h"

/**
 * Answers this program's questions for its command line and the path of its executable, for its own
 * life. The tests may change both at any time.
 */
class CFakeExecutable {
  public:
    explicit CFakeExecutable(std::wstring executable = L"C:\\Apps\\Qorvella\\worker.exe")
        : path(std::move(executable)) {}

    std::wstring path;
    std::wstring commandLine = L"worker.exe --wnd=1";
    /** For each question for the path: the size of the buffer, or -1 when that was not zero. */
    std::vector<int> questions;

  private:
    DWORD CopyPath(wchar_t* buffer, DWORD size);

    PATCH_IMPORT(m_commandLine, GetCommandLineW, [this] { return commandLine.data(); });
    PATCH_IMPORT(m_fileName, GetModuleFileNameW, [this](HMODULE module, LPWSTR buffer, DWORD size) {
        return module ? m_fileName.Original(module, buffer, size) : CopyPath(buffer, size);
    });
};
