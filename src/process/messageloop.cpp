#include "src/process/messageloop.h"

namespace {

// WM_SYSTIMER, the caret's blinking; Windows' headers do not name it.
constexpr UINT kCaretTimerMessage = 0x118;

}  // namespace

bool BeginsIdleTime(UINT message) {
    return message != WM_MOUSEMOVE && message != WM_NCMOUSEMOVE && message != WM_PAINT &&
           message != kCaretTimerMessage;
}

void RunMessageLoop() {
    bool idle = true;
    for (;;) {
        MSG message{};
        // Nothing is done in idle time, so one look at an empty queue ends it.
        if (idle && !PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE)) {
            idle = false;
        }
        const BOOL got = GetMessageW(&message, nullptr, 0, 0);
        // An error that only bad arguments cause; ending the worker for it would be worse.
        if (got == -1) {
            continue;
        }
        if (got == 0) {
            return;
        }
        TranslateMessage(&message);
        DispatchMessageW(&message);
        if (BeginsIdleTime(message.message)) {
            idle = true;
        }
    }
}
