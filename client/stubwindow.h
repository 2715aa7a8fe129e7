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
 * Takes WM_COPYDATA: copies the payload, answers, and only then lets somebody look at it. The
 * worker waits for the answer, one second at most, so nothing that could take time may come before
 * it; and a stub that sends to the worker's window from inside the handler would have each wait for
 * the other.
 *
 * Made, used and destroyed on one thread. That thread runs a message loop: while it does not,
 * nothing arrives.
 */
class CStubWindow {
  public:
    /**
     * Called from the message loop, once for each payload, in the order of arrival. `sender` is
     * what the sender says it is and may be anything. May destroy the window; must not throw.
     */
    using Sink = std::function<void(HWND sender, const Payload& payload)>;

    /** Bytes of a payload that are kept. No payload that can be decoded is longer. */
    static constexpr size_t kKeptBytes = 1024;

    /** Payloads that may wait; further ones are answered with FALSE, which tells the sender. */
    static constexpr size_t kLongestQueue = 1024;

    /**
     * Makes the window. An elevated stub lets WM_COPYDATA in from workers that are not elevated.
     * The error if there is one.
     */
    [[nodiscard]] std::optional<CallError> Create(Sink sink);

    /**
     * Destroys the window; payloads that wait are dropped. A worker that finds its stub window
     * gone, which it checks every five seconds, ends in order.
     */
    void Destroy();

    /** Hands out what waits without a message having to come. */
    void Deliver();

    /** Null when there is no window. */
    HWND Handle() const { return m_window.Handle(); }

  private:
    struct Arrival {
        HWND sender = nullptr;
        Payload payload;
    };

    bool Take(HWND sender, const COPYDATASTRUCT* data);

    CMessageWindow m_window;
    Sink m_sink;
    std::deque<Arrival> m_waiting;
};

}  // namespace zorvane
