/** The process-wide log of one test. */
#pragma once

#include <string>
#include <vector>

#include "tests/support/tempfolder.h"

/** Opens the process-wide log in a folder of its own, and closes and deletes it. */
class CTestLog {
  public:
    CTestLog();
    ~CTestLog();
    CTestLog(const CTestLog&) = delete;
    CTestLog& operator=(const CTestLog&) = delete;

    /** The log file's path. */
    std::wstring Path() const { return m_folder.PathOf(L"test.log"); }

    /** Whole lines without their line ends. */
    std::vector<std::string> Lines() const;

    /** What the log sites said: "[source] message", without stamp and line number; no markers. */
    std::vector<std::string> Messages() const;

  private:
    CTempFolder m_folder;
};
