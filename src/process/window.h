/** A window whose messages go to an object. */
#pragma once

#include <windows.h>

#include <atomic>
#include <exception>

/**
 * A window class that is registered at first use, under a name made from this object's address, and
 * unregistered when the module goes. Lives as long as the module.
 */
class CWindowClass {
  public:
    CWindowClass() = default;
    ~CWindowClass();
    CWindowClass(const CWindowClass&) = delete;
    CWindowClass& operator=(const CWindowClass&) = delete;

    /** The class's atom, 0 when Windows refuses it; a later call tries again. Any thread. */
    ATOM Register();

  private:
    SRWLOCK m_lock{};
    ATOM m_atom = 0;
};

/**
 * One window and its object. The handle is known to the object from the first message on, before
 * CreateWindowExW returns. All messages arrive on the thread that created the window.
 *
 * Any program of the desktop may send messages to the window. Those that belong to its creation and
 * destruction reach the object only while it is really created or destroyed, which is always done
 * with the operations of this class.
 *
 * An exception must not leave a window procedure: it would unwind Windows' own frames. One that a
 * handler throws is kept. It fails the creation that it happens in; otherwise the window is told to
 * close, and where closing throws, the thread's message loop is ended. Whoever runs that loop then
 * throws the exception again with RethrowException.
 */
class CWindowBase {
  public:
    /** The message map: true when the message was handled, with its answer in `result`. */
    virtual BOOL ProcessWindowMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                                      LRESULT& result) = 0;
    /** Does not destroy a window that is still there; it goes on without this object. */
    virtual ~CWindowBase();
    /** The window procedure that takes over with the first message. */
    virtual WNDPROC GetWindowProc();
    /** Called after the last message; the handle is forgotten by then. */
    virtual void OnFinalMessage(HWND window);

    CWindowBase(const CWindowBase&) = delete;
    CWindowBase& operator=(const CWindowBase&) = delete;

  protected:
    CWindowBase() = default;

    /** Creates a never-shown pop-up window on this thread; null on failure, see GetLastError. */
    HWND CreateHidden(ATOM windowClass);

    /** Destroys the window, if there is one, on its own thread. */
    void Destroy();

    /**
     * Throws the first exception that left a handler, once, after destroying a window that is still
     * there; does nothing when there is none.
     */
    void RethrowException();

    /** The window, null before its first and after its last message. Any thread. */
    HWND Window() const { return m_window; }

  private:
    friend class CWindowClass;

    enum class Life { kNone, kBeginning, kRunning, kEnding };

    void Abandon(HWND window);
    bool IsExpected(UINT message) const;
    LRESULT Handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT KeepException(UINT message);

    static LRESULT CALLBACK StartWindowProc(HWND window, UINT message, WPARAM wParam,
                                            LPARAM lParam);
    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    // Read on any thread that posts to the window.
    std::atomic<HWND> m_window{nullptr};
    Life m_life = Life::kNone;
    std::exception_ptr m_exception;
};

/**
 * The "handled" mark of a message map: set while a message is looked at, and given its old value
 * afterwards, because a handler may send messages that come back to the same map.
 */
class CHandledScope {
  public:
    explicit CHandledScope(BOOL& handled) : m_handled(handled), m_outer(handled) {
        m_handled = TRUE;
    }
    ~CHandledScope() { m_handled = m_outer; }
    CHandledScope(const CHandledScope&) = delete;
    CHandledScope& operator=(const CHandledScope&) = delete;

  private:
    BOOL& m_handled;
    const BOOL m_outer;
};
