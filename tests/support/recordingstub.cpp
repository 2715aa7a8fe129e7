#include "tests/support/recordingstub.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <stdexcept>

#include "zorvane/wire.h"

namespace {

constexpr auto kPatience = std::chrono::seconds(30);

}  // namespace

CRecordingStub::CRecordingStub(Handler handler)
    : m_handler(std::move(handler)),
      m_window([this](UINT message, WPARAM wParam, LPARAM lParam) -> std::optional<LRESULT> {
          if (message != WM_COPYDATA) {
              return std::nullopt;
          }
          const auto* data = reinterpret_cast<const COPYDATASTRUCT*>(lParam);
          Keep({data->dwData, std::string(static_cast<const char*>(data->lpData), data->cbData),
                reinterpret_cast<HWND>(wParam)});
          return TRUE;
      }) {}

std::wstring CRecordingStub::WindowWord() const {
    return L"--wnd=" + std::to_wstring(static_cast<int>(reinterpret_cast<INT_PTR>(Window())));
}

std::vector<StubMessage> CRecordingStub::Messages() const {
    const std::lock_guard guard(m_lock);
    return m_messages;
}

bool CRecordingStub::WaitUntil(const std::function<bool(const std::vector<StubMessage>&)>& done) {
    std::unique_lock guard(m_lock);
    return m_arrived.wait_for(guard, kPatience, [&] { return done(m_messages); });
}

bool CRecordingStub::WaitForMessages(ULONG_PTR code, size_t count) {
    return WaitUntil([code, count](const std::vector<StubMessage>& messages) {
        return CountMessages(messages, code) >= count;
    });
}

LRESULT CRecordingStub::SendToWorker(ULONG_PTR code) const {
    HelloPayload hello{};
    for (const StubMessage& message : Messages()) {
        if (message.code == kCopyDataHello && message.payload.size() == sizeof(hello)) {
            std::memcpy(&hello, message.payload.data(), sizeof(hello));
        }
    }
    COPYDATASTRUCT data{code, 0, nullptr};
    DWORD_PTR answer = 0;
    SendMessageTimeoutW(reinterpret_cast<HWND>(hello.hostWnd), WM_COPYDATA,
                        reinterpret_cast<WPARAM>(Window()), reinterpret_cast<LPARAM>(&data),
                        SMTO_NORMAL, 30000, &answer);
    return static_cast<LRESULT>(answer);
}

void CRecordingStub::Keep(const StubMessage& message) {
    {
        const std::lock_guard guard(m_lock);
        m_messages.push_back(message);
    }
    m_arrived.notify_all();
    if (m_handler) {
        m_handler(message);
    }
}

size_t CountMessages(const std::vector<StubMessage>& messages, ULONG_PTR code) {
    return static_cast<size_t>(
        std::count_if(messages.begin(), messages.end(),
                      [code](const StubMessage& message) { return message.code == code; }));
}
