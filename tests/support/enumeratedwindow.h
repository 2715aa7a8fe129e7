/** Finding a message window of a program by enumeration, as Windows does. */
#pragma once

#include <windows.h>

#include <string>

/**
 * The window of the process that takes what Windows tells all windows; null when there is none yet.
 * `except` is passed over.
 */
inline HWND FindBroadcastWindow(DWORD process, HWND except = nullptr) {
    struct Search {
        DWORD process;
        HWND except;
        HWND found;
    } search{process, except, nullptr};
    EnumWindows(
        [](HWND window, LPARAM context) -> BOOL {
            auto* wanted = reinterpret_cast<Search*>(context);
            DWORD owner = 0;
            GetWindowThreadProcessId(window, &owner);
            wchar_t name[64] = {};
            GetClassNameW(window, name, ARRAYSIZE(name));
            if (owner == wanted->process && window != wanted->except &&
                std::wstring(name) == L"ZorvaneMessageWindow") {
                wanted->found = window;
            }
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}
