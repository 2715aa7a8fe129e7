/** NVML of today's drivers, which put it into the system folder only. */
#pragma once

#include <string>

#include "host/nvmlchoice.h"

/**
 * Leads the worker library to the NVML of the system folder. The library looks at one fixed path
 * below %ProgramW6432%, so this process's variable is set to a folder of this run, below which that
 * path leads to the system's file: by a junction, so that the library runs the very file that the
 * driver keeps up to date, from the folder that the file is made for. Where the file system makes
 * no junction it is a copy, compared byte by byte, and made anew at each start.
 */
class CSystemNvml {
  public:
    /**
     * Decides by `choice` and prepares the folder if it is needed. Removes folders of runs that
     * could not remove their own. Call it once, before the library's export is entered. A line on
     * what failed, in which case everything is as before; else empty.
     */
    std::wstring Prepare(NvmlChoice choice);

    /** Whether the library is led to the system folder's file. */
    bool IsUsed() const { return !m_folder.empty(); }

    /** Removes the folder. A copy that is still loaded stays; a later run removes it. */
    void Remove() const;

  private:
    std::wstring m_folder;
};

/**
 * Makes the fixed path below `folder` lead to the file nvml.dll of `systemFolder`, which ends with
 * a separator. A line on what failed; else empty.
 */
std::wstring LeadToSystemNvml(const std::wstring& folder, const std::wstring& systemFolder);

/** Removes what LeadToSystemNvml has made, and `folder` if it is empty then. */
void RemoveNvmlFolder(const std::wstring& folder);
