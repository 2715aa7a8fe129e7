#include "client/stubwindow.h"

#include <algorithm>
#include <utility>

namespace zorvane {
namespace {

constexpr UINT kDeliverMessage = WM_APP;

}  // namespace

std::optional<CallError> CStubWindow::Create(Sink sink, Glance glance) {
    Destroy();
    m_sink = std::move(sink);
    m_glance = std::move(glance);
    const auto onMessage = [this](UINT message, WPARAM wParam,
                                  LPARAM lParam) -> std::optional<LRESULT> {
        if (message == WM_COPYDATA) {
            const bool taken = Take(reinterpret_cast<HWND>(wParam),
                                    reinterpret_cast<const COPYDATASTRUCT*>(lParam));
            ReplyMessage(taken);
            if (taken) {
                PostMessageW(m_window.Handle(), kDeliverMessage, 0, 0);
            }
            return taken;
        }
        if (message == kDeliverMessage) {
            Deliver();
            return 0;
        }
        return std::nullopt;
    };
    if (auto error = m_window.Create(onMessage)) {
        return error;
    }
    if (!ChangeWindowMessageFilterEx(m_window.Handle(), WM_COPYDATA, MSGFLT_ALLOW, nullptr)) {
        return LastCallError("ChangeWindowMessageFilterEx");
    }
    return std::nullopt;
}

void CStubWindow::Destroy() {
    m_window.Destroy();
    m_waiting.clear();
}

void CStubWindow::Deliver() {
    while (!m_waiting.empty()) {
        const Arrival arrival = std::move(m_waiting.front());
        m_waiting.pop_front();
        m_sink(arrival.sender, arrival.payload);
    }
}

bool CStubWindow::Take(HWND sender, const COPYDATASTRUCT* data) {
    if (!data || m_waiting.size() >= kLongestQueue) {
        return false;
    }
    Payload payload{data->dwData, data->cbData, {}};
    if (data->lpData) {
        const auto* bytes = static_cast<const std::byte*>(data->lpData);
        payload.bytes.assign(bytes, bytes + std::min<size_t>(data->cbData, kKeptBytes));
    }
    if (m_glance) {
        m_glance(payload);
    }
    m_waiting.push_back({sender, std::move(payload)});
    return true;
}

}  // namespace zorvane
