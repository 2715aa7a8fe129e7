#include "stubwindow.h"

#include <chrono>
#include <stdexcept>

#include "testevent.h"

namespace {

constexpr wchar_t kClassName[] = L"ZorvaneTestStub";
constexpr UINT kEndMessage = WM_APP + 1;
constexpr std::chrono::milliseconds kPatience{kPatienceMs};

}  // namespace

CStubWindow::CStubWindow() : m_thread([this] { RunThread(); }) {
    std::unique_lock lock(m_mutex);
    if (!m_changed.wait_for(lock, kPatience, [this] { return m_window != nullptr; })) {
        throw std::runtime_error("the stub window did not come");
    }
}

CStubWindow::~CStubWindow() { Destroy(); }

std::wstring CStubWindow::CommandLine(const std::wstring& entry) const {
    const auto handle = static_cast<int>(reinterpret_cast<INT_PTR>(m_window));
    return L"--wnd=" + std::to_wstring(handle) + L" --entry=" + entry;
}

bool CStubWindow::WaitFor(size_t count) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, kPatience,
                              [this, count] { return m_messages.size() >= count; });
}

std::vector<CStubWindow::Message> CStubWindow::Messages() {
    const std::lock_guard lock(m_mutex);
    return m_messages;
}

void CStubWindow::Destroy() {
    if (m_thread.joinable()) {
        PostMessageW(m_window, kEndMessage, 0, 0);
        m_thread.join();
    }
}

void CStubWindow::RunThread() {
    WNDCLASSEXW description{};
    description.cbSize = sizeof(description);
    description.lpfnWndProc = WindowProc;
    description.hInstance = GetModuleHandleW(nullptr);
    description.lpszClassName = kClassName;
    RegisterClassExW(&description);
    {
        const std::lock_guard lock(m_mutex);
        m_window = CreateWindowExW(0, kClassName, nullptr, WS_POPUP, 0, 0, 0, 0, nullptr, nullptr,
                                   description.hInstance, this);
    }
    m_changed.notify_all();
    MSG message{};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.message == kEndMessage) {
            DestroyWindow(m_window);
            return;
        }
        DispatchMessageW(&message);
    }
}

LRESULT CStubWindow::Keep(HWND sender, const COPYDATASTRUCT& data) {
    const Message message{data.dwData, sender,
                          std::string(static_cast<const char*>(data.lpData), data.cbData)};
    {
        const std::lock_guard lock(m_mutex);
        m_messages.push_back(message);
    }
    m_changed.notify_all();
    return onMessage(message);
}

LRESULT CALLBACK CStubWindow::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        const auto* creation = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        SetWindowLongPtrW(window, GWLP_USERDATA,
                          reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
    }
    if (message == WM_COPYDATA) {
        auto* self = reinterpret_cast<CStubWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        return self->Keep(reinterpret_cast<HWND>(wParam),
                          *reinterpret_cast<const COPYDATASTRUCT*>(lParam));
    }
    return DefWindowProcW(window, message, wParam, lParam);
}
