// A library that holds a copy of the client library, as a plug-in of a bigger program may.
#include "client/stubwindow.h"

// Has a stub window take one payload. The number of payloads that arrived, which is 1.
extern "C" __declspec(dllexport) int TakeOnePayload() {
    int taken = 0;
    zorvane::CStubWindow window;
    if (window.Create([&taken](HWND, const zorvane::Payload&) { ++taken; })) {
        return -1;
    }
    COPYDATASTRUCT data{3344, 0, nullptr};
    SendMessageW(window.Handle(), WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data));
    window.Deliver();
    return taken;
}
