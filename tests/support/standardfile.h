/** A standard handle of this process that leads into a file. */
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

#include "base/handle.h"
#include "tests/support/tempfolder.h"

/** For its life, what is written to the standard handle goes into the file. */
class CStandardFile {
  public:
    /**
     * `which` is STD_OUTPUT_HANDLE or STD_ERROR_HANDLE; the file begins empty. With an `access`
     * that does not write, every write fails with ERROR_ACCESS_DENIED.
     */
    CStandardFile(DWORD which, std::wstring path, DWORD access = GENERIC_WRITE)
        : m_which(which),
          m_path(std::move(path)),
          m_before(GetStdHandle(which)),
          m_file(zorvane::OwnFile(CreateFileW(m_path.c_str(), access, FILE_SHARE_READ, nullptr,
                                              CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr))) {
        if (!m_file) {
            throw std::runtime_error("a test cannot make a file for its output");
        }
        SetStdHandle(which, m_file.get());
    }
    ~CStandardFile() { SetStdHandle(m_which, m_before); }
    CStandardFile(const CStandardFile&) = delete;
    CStandardFile& operator=(const CStandardFile&) = delete;

    /** What was written so far. */
    std::string Text() const { return ReadFileBytes(m_path); }

  private:
    DWORD m_which;
    std::wstring m_path;
    HANDLE m_before;
    zorvane::CUniqueHandle m_file;
};
