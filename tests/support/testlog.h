/** The process-wide log of one test. */
#pragma once

#include <string>
#include <vector>

#include "tests/support/tempfolder.h"

/** Opens the process-wide log in a new folder; closes and deletes it at the end. */
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

    /** The messages of the log sites as "[source] message"; marker lines are left out. */
    std::vector<std::string> Messages() const;

  private:
    CTempFolder m_folder;
};
