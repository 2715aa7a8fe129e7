/** The shipped library in the test's process. */
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "tests/support/tempfolder.h"

/**
 * Loads a copy of the library from a folder of its own and leaves it loaded, as its host does. The
 * machine has no NVIDIA driver and the temperature task is switched off, unless the test asks for
 * the machine as it is, so that nothing of a real machine is touched.
 */
class CLoadedLibrary {
  public:
    /** Throws std::runtime_error when the library cannot be loaded. */
    explicit CLoadedLibrary(bool withLogFolder = true);

    /** Calls the export with this command line; returns when the worker has ended. */
    void Run(std::wstring commandLine) const;
    /** The same on the machine as it is, without taking anything from it. */
    void RunAsItIs(std::wstring commandLine) const { m_entry(commandLine.data()); }
    void RunWithoutCommandLine() const { m_entry(nullptr); }

    std::wstring LogPath() const { return m_folder.PathOf(L"Log\\Qorvella_HardwareDll.log"); }
    std::vector<std::string> LogLines() const;
    HMODULE Module() const { return m_module; }
    /** The stand-in of AMD's library, which this one has loaded. */
    static HMODULE Platform() { return GetModuleHandleW(L"Platform.dll"); }

  private:
    CTempFolder m_folder;
    HMODULE m_module = nullptr;
    void (*m_entry)(wchar_t*) = nullptr;
};
