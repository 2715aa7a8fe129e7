/** The window that a worker reports to. */
#pragma once

#include <windows.h>

#include <deque>
#include <functional>
#include <optional>

#include "base/callerror.h"
#include "base/messagewindow.h"
#include "client/decode.h"

namespace zorvane {

/**
 * Receives WM_COPYDATA: copies the payload, answers, and hands the copy out afterwards. The worker
 * waits for the answer, for one second at most, so nothing slow may come before it; and a stub that
 * sent to the worker's window from inside the handler would deadlock with it for that second.
 *
 * Made, used and destroyed on one thread, which runs a message loop: nothing arrives while it does
 * not.
 */
class CStubWindow {
  public:
    /**
     * Called from the message loop, once for each payload, in order of arrival, and never before
     * the sender has its answer. `sender` is what the message claims, so it may be any value. May
     * destroy the window; must not throw.
     */
    using Sink = std::function<void(HWND sender, const Payload& payload)>;

    /**
     * Called while the sender still waits for the answer, so it must be quick and send nothing.
     * Must not throw.
     */
    using Glance = std::function<void(const Payload& payload)>;

    /** Bytes of a payload that are kept. No payload that can be decoded is longer. */
    static constexpr size_t kKeptBytes = 1024;

    /**
     * The most payloads that are queued. One of another thread that fills the queue has it handed
     * out before more is taken; one of this thread is refused by answering FALSE.
     */
    static constexpr size_t kLongestQueue = 1024;

    /** The most payloads that are handed out as they arrive before the message loop has a turn. */
    static constexpr unsigned kMostInARow = 64;

    /**
     * Makes the window. If the stub is elevated, workers that are not may still send WM_COPYDATA to
     * it. Returns the error if it fails.
     */
    [[nodiscard]] std::optional<CallError> Create(Sink sink, Glance glance = {});

    /**
     * Destroys the window; payloads that wait are dropped. A worker that finds its stub window
     * gone, which it checks every five seconds, ends in order.
     */
    void Destroy();

    /** Hands out everything that is queued, without waiting for a message. */
    void Deliver();

    /** Null when there is no window. */
    HWND Handle() const { return m_window.Handle(); }

  private:
    struct Arrival {
        HWND sender = nullptr;
        Payload payload;
    };

    bool Take(HWND sender, const COPYDATASTRUCT* data);
    void OnTaken(bool isSenderReleased);

    CMessageWindow m_window;
    Sink m_sink;
    Glance m_glance;
    std::deque<Arrival> m_waiting;
    /** Whether the message that hands out what waits is on its way. */
    bool m_isTurnPosted = false;
    /** Whether a payload is being handed out; what is sent to the window meanwhile waits. */
    bool m_isHandingOut = false;
    /** Payloads handed out as they arrived since the message loop had its turn. */
    unsigned m_inARow = 0;
};

}  // namespace zorvane
