/** Loading the worker library and entering it. */
#pragma once

#include <string>

#include "host/hostexit.h"

/** The worker library in this process. It stays loaded until the process ends. */
class CWorkerLibrary {
  public:
    /** The library that is used when none is named: Zorvane.dll in the executable's folder. */
    static std::wstring DefaultPath();

    /**
     * Loads `path`; what it needs is looked for beside it, beside the executable and in the system
     * folder. On failure `error` is one line that names what is missing.
     */
    HostExit Load(const std::wstring& path, std::wstring& error);

    /** Calls the export on this thread and returns when the worker has ended. Needs Load. */
    void Run(wchar_t* commandLine) const;

    /** Where the library lies in memory; null before Load. */
    void* Base() const { return m_module; }

  private:
    void* m_module = nullptr;
    void (*m_entry)(wchar_t*) = nullptr;
};
