/** The stub's side of a test. */
#pragma once

#include <windows.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/** A real window on a thread of its own that keeps the WM_COPYDATA messages that it gets. */
class CStubWindow {
  public:
    struct Message {
        ULONG_PTR code;
        HWND sender;
        std::string payload;
    };

    /** The window is there when this returns. */
    CStubWindow();
    /** Destroys the window if it is still there. */
    ~CStubWindow();
    CStubWindow(const CStubWindow&) = delete;
    CStubWindow& operator=(const CStubWindow&) = delete;

    HWND Handle() const { return m_window; }

    /** "--wnd=<handle> --entry=<entry>" */
    std::wstring CommandLine(const std::wstring& entry) const;

    /** Waits until `count` messages have come; false when they did not come in time. */
    bool WaitFor(size_t count);

    std::vector<Message> Messages();

    /** Destroys the window and ends its thread. */
    void Destroy();

    /** Called on the stub's thread with each message, after it was kept; what it answers. */
    std::function<LRESULT(const Message&)> onMessage = [](const Message&) { return LRESULT{TRUE}; };

  private:
    void RunThread();
    LRESULT Keep(HWND sender, const COPYDATASTRUCT& data);
    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Message> m_messages;
    HWND m_window = nullptr;
    std::thread m_thread;
};
