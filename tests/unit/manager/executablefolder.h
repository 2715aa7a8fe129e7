/** The folder of the process's executable, as a test wants it. */
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/tempfolder.h"

/** For its own life the process's executable is "host.exe" in an empty folder of its own. */
class CExecutableFolder {
  public:
    CExecutableFolder();
    ~CExecutableFolder();
    CExecutableFolder(const CExecutableFolder&) = delete;
    CExecutableFolder& operator=(const CExecutableFolder&) = delete;

    /** The settings file beside the executable. */
    std::wstring SettingsPath() const { return m_folder.PathOf(L"Qorvella.set"); }

    /** The executable's full path; the test may change it. */
    std::wstring executable;
    /** For each question for it: the size of the buffer, or -1 when that was not zero. */
    std::vector<int> questions;

  private:
    struct Patch;
    CTempFolder m_folder;
    std::unique_ptr<Patch> m_patch;
};
