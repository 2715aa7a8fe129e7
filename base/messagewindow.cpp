#include "base/messagewindow.h"

#include <utility>

namespace zorvane {
namespace {

constexpr wchar_t kClassName[] = L"ZorvaneMessageWindow";

bool RegisterWindowClass(WNDPROC windowProc) {
    WNDCLASSEXW description{};
    description.cbSize = sizeof(description);
    description.lpfnWndProc = windowProc;
    description.hInstance = GetModuleHandleW(nullptr);
    description.lpszClassName = kClassName;
    return RegisterClassExW(&description) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

}  // namespace

std::optional<CallError> CMessageWindow::Create(Handler handler) {
    Destroy();
    if (!RegisterWindowClass(&WindowProc)) {
        return LastCallError("RegisterClassExW");
    }
    m_handler = std::move(handler);
    if (CreateWindowExW(0, kClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                        GetModuleHandleW(nullptr), this) == nullptr) {
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
    // The object and its window know each other from the first message on.
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
