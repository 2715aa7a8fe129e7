/** Waiting in tests. */
#pragma once

#include <windows.h>

#include "base/handle.h"

/** How long a test waits for what must happen before it says that it did not. */
inline constexpr DWORD kPatienceMs = 30000;

/** A manual-reset event. */
class CTestEvent {
  public:
    CTestEvent() : m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

    void Set() { SetEvent(m_event.get()); }
    bool IsSet() const { return WaitForSingleObject(m_event.get(), 0) == WAIT_OBJECT_0; }
    /** False when the event did not come in time. */
    bool Wait() const { return WaitForSingleObject(m_event.get(), kPatienceMs) == WAIT_OBJECT_0; }

  private:
    zorvane::CUniqueHandle m_event;
};
