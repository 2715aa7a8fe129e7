#include "base/messagewindow.h"

#include <utility>

#include "base/modulepath.h"

namespace zorvane {
namespace {

constexpr wchar_t kClassName[] = L"ZorvaneMessageWindow";

// The class belongs to the module that contains this code and is unregistered with it. Several
// modules of one process may contain a copy, and Windows keeps the classes of an unloaded library
// registered, with a window procedure that no longer exists.
class CWindowClass {
  public:
    CWindowClass() = default;
    ~CWindowClass() { UnregisterClassW(kClassName, ThisModule()); }
    CWindowClass(const CWindowClass&) = delete;
    CWindowClass& operator=(const CWindowClass&) = delete;

    // By one thread at a time: to another one Windows may say that the class exists already before
    // a window of it can be made.
    bool Register(WNDPROC windowProc) {
        WNDCLASSEXW description{};
        description.cbSize = sizeof(description);
        description.lpfnWndProc = windowProc;
        description.hInstance = ThisModule();
        description.lpszClassName = kClassName;
        AcquireSRWLockExclusive(&m_lock);
        const bool isThere =
            RegisterClassExW(&description) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
        ReleaseSRWLockExclusive(&m_lock);
        return isThere;
    }

  private:
    SRWLOCK m_lock{};
};

CWindowClass s_windowClass;

}  // namespace

std::optional<CallError> CMessageWindow::Create(Handler handler, WindowReach reach) {
    Destroy();
    if (!s_windowClass.Register(&WindowProc)) {
        return LastCallError("RegisterClassExW");
    }
    m_handler = std::move(handler);
    const HWND parent = reach == WindowReach::kOwnMessages ? HWND_MESSAGE : nullptr;
    if (CreateWindowExW(0, kClassName, L"", WS_POPUP, 0, 0, 0, 0, parent, nullptr, ThisModule(),
                        this) == nullptr) {
        return LastCallError("CreateWindowExW");
    }
    return std::nullopt;
}

void CMessageWindow::Destroy() {
    if (m_window) {
        DestroyWindow(m_window);
    }
}

LRESULT CALLBACK CMessageWindow::WindowProc(HWND window, UINT message, WPARAM wParam,
                                            LPARAM lParam) noexcept {
    // On the first message, so that the object knows its window before CreateWindowExW returns.
    if (message == WM_NCCREATE) {
        auto* self = static_cast<CMessageWindow*>(
            reinterpret_cast<const CREATESTRUCTW*>(lParam)->lpCreateParams);
        self->m_window = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto* self = reinterpret_cast<CMessageWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!self) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    if (message == WM_NCDESTROY) {
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        self->m_window = nullptr;
        return DefWindowProcW(window, message, wParam, lParam);
    }
    const std::optional<LRESULT> answer = self->m_handler(message, wParam, lParam);
    return answer ? *answer : DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace zorvane
