/** A thread that stands for the library's export. */
#pragma once

#include <windows.h>

#include <atomic>

#include "base/messagewindow.h"
#include "host/runningexport.h"
#include "zorvane/wire.h"

/**
 * The calling thread as the one in the export, with a window that counts the requests to end. The
 * running export is leaked, as in a host.
 */
class CExportThread {
  public:
    /** `stub` is the stub's process; null when it is not known. */
    explicit CExportThread(zorvane::CUniqueHandle stub = nullptr)
        : running(*new CRunningExport(std::move(stub))) {
        const auto onMessage = [this](UINT message, WPARAM,
                                      LPARAM lParam) -> std::optional<LRESULT> {
            if (message != WM_COPYDATA) {
                return std::nullopt;
            }
            const auto* data = reinterpret_cast<const COPYDATASTRUCT*>(lParam);
            asked += data->dwData == kCopyDataStop ? 1 : 0;
            return TRUE;
        };
        if (m_window.Create(onMessage, zorvane::WindowReach::kBroadcasts)) {
            std::abort();
        }
    }

    /** Takes what other threads send until `done` or half a minute is over; whether it was done. */
    template <typename Done>
    bool PumpUntil(Done done) const {
        const ULONGLONG end = GetTickCount64() + 30000;
        while (!done()) {
            const ULONGLONG now = GetTickCount64();
            if (now >= end) {
                return false;
            }
            // Wakes for messages, and now and then to look whether it is done.
            constexpr DWORD kLookAgainMs = 10;
            MsgWaitForMultipleObjectsEx(0, nullptr, kLookAgainMs, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
            MSG message;
            while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
                DispatchMessageW(&message);
            }
        }
        return true;
    }

    HWND Window() const { return m_window.Handle(); }

    const CRunningExport& running;
    int asked = 0;

  private:
    zorvane::CMessageWindow m_window;
};

/** An event that stands for the process of a stub: set, it has ended. */
inline zorvane::CUniqueHandle FakeStub(bool ended = false) {
    return zorvane::CUniqueHandle(CreateEventW(nullptr, TRUE, ended, nullptr));
}
