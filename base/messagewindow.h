/** A window that only takes messages and is never shown. */
#pragma once

#include <windows.h>

#include <functional>
#include <optional>

#include "base/callerror.h"

namespace zorvane {

/** What reaches a window besides messages to itself. */
enum class WindowReach {
    /** Nothing. Enumeration does not find it either. */
    kOwnMessages,
    /** Messages that Windows broadcasts, such as the end of the session. */
    kBroadcasts,
};

/**
 * Made, used and destroyed on one thread, which pumps its messages. The object must not move while
 * the window exists.
 */
class CMessageWindow {
  public:
    /** Answers a message, or returns std::nullopt for the default answer. Must not throw. */
    using Handler = std::function<std::optional<LRESULT>(UINT message, WPARAM, LPARAM)>;

    CMessageWindow() = default;
    ~CMessageWindow() { Destroy(); }
    CMessageWindow(const CMessageWindow&) = delete;
    CMessageWindow& operator=(const CMessageWindow&) = delete;

    /** Makes the window, in place of one made before. Returns the error if it fails. */
    [[nodiscard]] std::optional<CallError> Create(Handler handler,
                                                  WindowReach reach = WindowReach::kOwnMessages);

    /** Destroys the window if there is one; messages still in its queue are lost. */
    void Destroy();

    /** Null when there is no window. */
    HWND Handle() const { return m_window; }

  private:
    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam,
                                       LPARAM lParam) noexcept;

    HWND m_window = nullptr;
    Handler m_handler;
};

}  // namespace zorvane
