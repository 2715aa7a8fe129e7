/** A fake machine on which the library has nothing to read. */
#pragma once

#include <windows.h>

#include <shlwapi.h>

#include "tests/support/importpatch.h"

/**
 * While it exists, `module` (null: the program) finds no NVIDIA driver, and the temperature task is
 * switched off, so that nothing of a real machine is touched.
 */
class CBareMachine {
  public:
    explicit CBareMachine(HMODULE module = nullptr) : m_module(module) {}

  private:
    HMODULE m_module;
    PATCH_IMPORT(
        m_look, PathFileExistsW, [](auto...) -> BOOL { return FALSE; }, m_module);
    PATCH_IMPORT(
        m_read, GetPrivateProfileIntW, [](auto...) -> UINT { return 0; }, m_module);
};
