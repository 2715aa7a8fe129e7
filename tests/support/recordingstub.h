/** A stub window that records what it receives. */
#pragma once

#include <windows.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "base/windowthread.h"

/** One WM_COPYDATA as received. */
struct StubMessage {
    ULONG_PTR code;
    std::string payload;
    HWND sender;
};

/** A real window on its own thread. The operations are called from the test's thread. */
class CRecordingStub {
  public:
    /** Called on the window's thread before the sender is answered; may be empty. */
    using Handler = std::function<void(const StubMessage& message)>;

    explicit CRecordingStub(Handler handler = {});

    HWND Window() const { return m_window.Handle(); }

    /** "--wnd=<handle>" as a worker's command line has it. */
    std::wstring WindowWord() const;

    std::vector<StubMessage> Messages() const;

    /** Waits until `done` accepts the messages received so far; false after half a minute. */
    bool WaitUntil(const std::function<bool(const std::vector<StubMessage>&)>& done);

    /** Waits for `count` messages of a code. */
    bool WaitForMessages(ULONG_PTR code, size_t count);

    /** Sends a WM_COPYDATA without payload to the window named in the hello; returns the answer. */
    LRESULT SendToWorker(ULONG_PTR code) const;

    /** Destroys the window and waits for the end of its thread. */
    void Destroy() { m_window.Destroy(); }

  private:
    void Keep(const StubMessage& message);

    Handler m_handler;
    mutable std::mutex m_lock;
    std::condition_variable m_arrived;
    std::vector<StubMessage> m_messages;
    // Last: its thread uses the others.
    zorvane::CWindowThread m_window;
};

/** The number of messages with a code. */
size_t CountMessages(const std::vector<StubMessage>& messages, ULONG_PTR code);
