/** Log files that stay open. */
#pragma once

#include <io.h>

#include <vector>

#include "tests/support/importpatch.h"

/**
 * Closes the files that are opened for the log in this object's life. The process-wide logger
 * leaves its file open when it goes; the folders of tests are removed.
 */
class CLogFiles {
  public:
    CLogFiles() = default;
    ~CLogFiles() { CloseAll(); }
    CLogFiles(const CLogFiles&) = delete;
    CLogFiles& operator=(const CLogFiles&) = delete;

    void CloseAll() {
        for (const int file : m_open) {
            _close(file);
        }
        m_open.clear();
    }

  private:
    std::vector<int> m_open;
    PATCH_IMPORT(m_patch, _wsopen_s, [this](int* file, auto... arguments) {
        const errno_t error = m_patch.Original(file, arguments...);
        if (*file != -1) {
            m_open.push_back(*file);
        }
        return error;
    });
};
