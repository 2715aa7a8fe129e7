#include "src/process/window.h"

#include <stdio.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "src/module.h"
#include "src/process/srwlockguard.h"

namespace {

// A window that is being created; its first message finds its object by the thread.
struct Creation {
    DWORD threadId;
    CWindowBase* object;
};

SRWLOCK s_creationsLock{};
std::vector<Creation> s_creations;

void AddCreation(CWindowBase* object) {
    const CSrwLockGuard guard(s_creationsLock);
    s_creations.push_back({GetCurrentThreadId(), object});
}

// The newest creation of this thread; null when there is none (left).
CWindowBase* TakeCreation() {
    const CSrwLockGuard guard(s_creationsLock);
    const auto found = std::find_if(
        s_creations.rbegin(), s_creations.rend(),
        [](const Creation& creation) { return creation.threadId == GetCurrentThreadId(); });
    if (found == s_creations.rend()) {
        return nullptr;
    }
    CWindowBase* object = found->object;
    s_creations.erase(std::next(found).base());
    return object;
}

}  // namespace

CWindowClass::~CWindowClass() {
    if (m_atom) {
        UnregisterClassW(MAKEINTATOM(m_atom), ModuleInstance());
    }
}

ATOM CWindowClass::Register() {
    const CSrwLockGuard guard(m_lock);
    if (m_atom) {
        return m_atom;
    }
    wchar_t name[5 + 2 * sizeof(void*)] = {};
    _snwprintf(name, ARRAYSIZE(name) - 1, L"ATL:%p", static_cast<void*>(this));
    WNDCLASSEXW description{};
    description.cbSize = sizeof(description);
    description.style = CS_HREDRAW | CS_VREDRAW | CS_DBLCLKS;
    description.lpfnWndProc = CWindowBase::StartWindowProc;
    description.hInstance = ModuleInstance();
    description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    description.hbrBackground = reinterpret_cast<HBRUSH>(ULONG_PTR{COLOR_WINDOW + 1});
    description.lpszClassName = name;
    m_atom = RegisterClassExW(&description);
    return m_atom;
}

CWindowBase::~CWindowBase() {
    if (m_window) {
        SetWindowLongPtrW(m_window, GWLP_USERDATA, 0);
    }
}

WNDPROC CWindowBase::GetWindowProc() { return WindowProc; }

void CWindowBase::OnFinalMessage(HWND) {}

HWND CWindowBase::CreateHidden(ATOM windowClass) {
    AddCreation(this);
    m_life = Life::kBeginning;
    const HWND window = CreateWindowExW(WS_EX_TOOLWINDOW, MAKEINTATOM(windowClass), nullptr,
                                        WS_POPUP, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT,
                                        CW_USEDEFAULT, nullptr, nullptr, ModuleInstance(), nullptr);
    if (!window) {
        const DWORD error = GetLastError();
        TakeCreation();
        m_life = Life::kNone;
        SetLastError(error);
        return nullptr;
    }
    if (GetWindowLongPtrW(window, GWLP_USERDATA) != reinterpret_cast<LONG_PTR>(this) ||
        GetWindowLongPtrW(window, GWLP_WNDPROC) == reinterpret_cast<LONG_PTR>(&StartWindowProc)) {
        Abandon(window);
        return nullptr;
    }
    return window;
}

// A window that could not be told of its object would never reach it, and never end.
void CWindowBase::Abandon(HWND window) {
    m_life = Life::kEnding;
    DestroyWindow(window);
    m_life = Life::kNone;
    m_window = nullptr;
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
}

void CWindowBase::Destroy() {
    if (m_window) {
        m_life = Life::kEnding;
        DestroyWindow(m_window);
    }
}

void CWindowBase::RethrowException() {
    if (m_exception) {
        Destroy();
        std::rethrow_exception(std::exchange(m_exception, nullptr));
    }
}

LRESULT CALLBACK CWindowBase::StartWindowProc(HWND window, UINT message, WPARAM wParam,
                                              LPARAM lParam) {
    CWindowBase* self = TakeCreation();
    if (!self) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    self->m_window = window;
    const WNDPROC procedure = self->GetWindowProc();
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure));
    return procedure(window, message, wParam, lParam);
}

LRESULT CALLBACK CWindowBase::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<CWindowBase*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!self) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    if (!self->IsExpected(message)) {
        return 0;
    }
    try {
        return self->Handle(window, message, wParam, lParam);
    } catch (...) {
        return self->KeepException(message);
    }
}

// Windows sends these; from anybody else they would start the work twice, or leave a window that
// no longer knows its object.
bool CWindowBase::IsExpected(UINT message) const {
    switch (message) {
        case WM_NCCREATE:
        case WM_CREATE:
            return m_life == Life::kBeginning;
        case WM_DESTROY:
        case WM_NCDESTROY:
            return m_life == Life::kEnding;
        default:
            return true;
    }
}

LRESULT CWindowBase::Handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_CREATE) {
        m_life = Life::kRunning;
    }
    LRESULT result = 0;
    if (!ProcessWindowMessage(window, message, wParam, lParam, result)) {
        result = DefWindowProcW(window, message, wParam, lParam);
    }
    const bool isRefused =
        (message == WM_CREATE && result == -1) || (message == WM_NCCREATE && !result);
    if (isRefused) {
        m_life = Life::kEnding;
    }
    if (message == WM_NCDESTROY) {
        m_life = Life::kNone;
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        m_window = nullptr;
        OnFinalMessage(window);
    }
    return result;
}

LRESULT CWindowBase::KeepException(UINT message) {
    if (!m_exception) {
        m_exception = std::current_exception();
    }
    if (message == WM_NCCREATE || message == WM_CREATE) {
        m_life = Life::kEnding;
        return message == WM_CREATE ? -1 : FALSE;
    }
    // A close that fails would fail again.
    if (message == WM_CLOSE || !PostMessageW(m_window, WM_CLOSE, 0, 0)) {
        PostQuitMessage(0);
    }
    return 0;
}
