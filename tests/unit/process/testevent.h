/** Waiting in tests. */
#pragma once

#include <windows.h>

/** How long a test waits for what must happen before it says that it did not. */
inline constexpr DWORD kPatienceMs = 30000;

/** A manual-reset event. */
class CTestEvent {
  public:
    CTestEvent() : m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~CTestEvent() { CloseHandle(m_event); }
    CTestEvent(const CTestEvent&) = delete;
    CTestEvent& operator=(const CTestEvent&) = delete;

    void Set() { SetEvent(m_event); }
    bool IsSet() const { return WaitForSingleObject(m_event, 0) == WAIT_OBJECT_0; }
    /** False when the event did not come in time. */
    bool Wait() const { return WaitForSingleObject(m_event, kPatienceMs) == WAIT_OBJECT_0; }

  private:
    HANDLE m_event;
};
