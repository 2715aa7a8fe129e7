/** The waits for a mutex that code under test makes. */
#pragma once

#include <windows.h>

#include <functional>
#include <utility>
#include <vector>

#include "tests/support/importpatch.h"

/**
 * Records every WaitForSingleObject of the thread that creates it and returns what `answer`
 * returns; without `answer` they really wait. Calls of other threads always do: GoogleTest waits
 * for threads of its own.
 */
class CMutexWaits {
  public:
    using Answer = std::function<DWORD(HANDLE mutex, DWORD timeoutMs)>;

    explicit CMutexWaits(Answer answer = nullptr) : m_answer(std::move(answer)) {}

    const std::vector<HANDLE>& Mutexes() const { return m_mutexes; }
    const std::vector<DWORD>& TimeoutsMs() const { return m_timeoutsMs; }

  private:
    DWORD Wait(HANDLE mutex, DWORD timeoutMs) {
        if (GetCurrentThreadId() != m_thread) {
            return m_patch.Original(mutex, timeoutMs);
        }
        m_mutexes.push_back(mutex);
        m_timeoutsMs.push_back(timeoutMs);
        return m_answer ? m_answer(mutex, timeoutMs) : m_patch.Original(mutex, timeoutMs);
    }

    DWORD m_thread = GetCurrentThreadId();
    Answer m_answer;
    std::vector<HANDLE> m_mutexes;
    std::vector<DWORD> m_timeoutsMs;
    PATCH_IMPORT(m_patch, WaitForSingleObject,
                 [this](HANDLE mutex, DWORD timeoutMs) { return Wait(mutex, timeoutMs); });
};
