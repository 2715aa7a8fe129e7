/** Replacing a function that a loaded library exports, for the modules that are loaded later. */
#pragma once

#include <windows.h>

/**
 * For its own life whoever looks `function` up in `library` gets `replacement`; a module that was
 * bound before keeps what it has, and one that is bound meanwhile keeps the replacement for good.
 * Throws std::runtime_error when the library has no export of that name.
 */
class CExportPatch {
  public:
    CExportPatch(HMODULE library, const char* function, void* replacement);
    ~CExportPatch();
    CExportPatch(const CExportPatch&) = delete;
    CExportPatch& operator=(const CExportPatch&) = delete;

  private:
    DWORD* m_entry;
    DWORD m_original;
};
