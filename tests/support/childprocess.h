/** A program that a test runs. */
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "base/environment.h"
#include "base/handle.h"
#include "base/processidentity.h"
#include "tests/support/tempfolder.h"

/** Runs a program in a job that ends with this object, and captures its output. */
class CChildProcess {
  public:
    /** Starts at once; throws std::runtime_error when Windows cannot. */
    CChildProcess(const std::wstring& program, const std::wstring& words,
                  const std::vector<zorvane::EnvironmentChange>& environment = {});
    ~CChildProcess();
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;

    DWORD Id() const { return m_id; }

    /** "--parent=<this process>", for a worker that is to take this process for its stub's. */
    std::wstring ParentWord() const {
        return L"--parent=" + zorvane::IdentityText(zorvane::IdentityOf(m_process.get()));
    }

    /** The exit code; empty when it has not ended within `timeoutMs`. */
    std::optional<DWORD> Wait(DWORD timeoutMs = 60000) const;

    /** The output so far. */
    std::string Output() const { return ReadFileBytes(m_folder.PathOf(L"output")); }
    std::string Errors() const { return ReadFileBytes(m_folder.PathOf(L"errors")); }

    /** Ends it by force. */
    void Kill() const;

    /** The process of the program file `name` that it has started; null when there is none. */
    zorvane::CUniqueHandle OpenChild(const wchar_t* name) const;

  private:
    CTempFolder m_folder;
    zorvane::CUniqueHandle m_job;
    zorvane::CUniqueHandle m_process;
    DWORD m_id = 0;
};
