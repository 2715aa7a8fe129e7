#include "host/runningexport.h"

#include <utility>

#include "zorvane/wire.h"

namespace {

BOOL CALLBACK SendStop(HWND window, LPARAM context) {
    // Static, because a message that timed out may still be delivered, and within one process it is
    // not copied.
    static COPYDATASTRUCT s_stop{kCopyDataStop, 0, nullptr};
    constexpr UINT kTimeoutMs = 1000;
    DWORD_PTR answer = FALSE;
    // Windows keeps windows of its own on the thread, such as the input method's. They answer 0.
    if (SendMessageTimeoutW(window, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&s_stop),
                            SMTO_ABORTIFHUNG, kTimeoutMs, &answer) &&
        answer) {
        *reinterpret_cast<bool*>(context) = true;
    }
    return TRUE;
}

}  // namespace

CRunningExport::CRunningExport(zorvane::CUniqueHandle stub)
    : m_stub(std::move(stub)),
      m_ended(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_thread(GetCurrentThreadId()) {}

bool CRunningExport::HasStub() const {
    return m_stub && WaitForSingleObject(m_stub.get(), 0) == WAIT_TIMEOUT;
}

bool CRunningExport::AskToEnd() const {
    bool taken = false;
    EnumThreadWindows(m_thread, &SendStop, reinterpret_cast<LPARAM>(&taken));
    return taken;
}

bool CRunningExport::WaitForEnd(DWORD timeoutMs) const {
    return WaitForSingleObject(m_ended.get(), timeoutMs) == WAIT_OBJECT_0;
}
