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
            const bool isSenderReleased = ReplyMessage(taken);
            if (taken) {
                OnTaken(isSenderReleased);
            }
            return taken;
        }
        if (message == kDeliverMessage) {
            m_isTurnPosted = false;
            m_inARow = 0;
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
    m_isTurnPosted = false;
    m_inARow = 0;
}

// A payload is handed out as soon as it is answered. A posted message for each would cost as much
// as the payload, and Windows hands out what is sent before what is posted: a worker that sends
// without a pause would keep it back. For the same reason the loop has to get a turn now and then:
// what is sent while this handler runs is handled before the loop sees anything else.
void CStubWindow::OnTaken(bool isSenderReleased) {
    const bool isNext = m_waiting.size() == 1 && m_inARow < kMostInARow;
    const bool isFull = m_waiting.size() >= kLongestQueue;
    // A sender on this thread is not released before the handler returns.
    if (isSenderReleased && !m_isHandingOut && (isNext || isFull)) {
        ++m_inARow;
        Deliver();
        return;
    }
    if (!m_isTurnPosted) {
        m_isTurnPosted = PostMessageW(m_window.Handle(), kDeliverMessage, 0, 0);
    }
}

void CStubWindow::Deliver() {
    const bool isHandingOut = std::exchange(m_isHandingOut, true);
    while (!m_waiting.empty()) {
        const Arrival arrival = std::move(m_waiting.front());
        m_waiting.pop_front();
        m_sink(arrival.sender, arrival.payload);
    }
    m_isHandingOut = isHandingOut;
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
