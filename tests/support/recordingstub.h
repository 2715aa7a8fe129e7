/** A stub window that keeps what it is told. */
#pragma once

#include <windows.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "base/windowthread.h"

/** One WM_COPYDATA as it came. */
struct StubMessage {
    ULONG_PTR code;
    std::string payload;
    HWND sender;
};

/** A real window on a thread of its own. Its operations may be called from the test's thread. */
class CRecordingStub {
  public:
    /** Runs inside the handler, before the sender gets its answer; may be empty. */
    using Handler = std::function<void(const StubMessage& message)>;

    explicit CRecordingStub(Handler handler = {});

    HWND Window() const { return m_window.Handle(); }

    /** "--wnd=<handle>" as a worker's command line has it. */
    std::wstring WindowWord() const;

    std::vector<StubMessage> Messages() const;

    /** Waits until `done` is true of what has come; false when that takes longer than half a
     * minute. */
    bool WaitUntil(const std::function<bool(const std::vector<StubMessage>&)>& done);

    /** Waits for `count` messages of a code. */
    bool WaitForMessages(ULONG_PTR code, size_t count);

    /** Sends a WM_COPYDATA without payload to the window that the hello named; its answer. */
    LRESULT SendToWorker(ULONG_PTR code);

    /** Destroys the window and waits until it is gone. */
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

/** How many messages of a code there are. */
size_t CountMessages(const std::vector<StubMessage>& messages, ULONG_PTR code);
