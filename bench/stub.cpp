// The floor of zorvanemon: starts the worker that its command line names, copies each record,
// answers, and prints the same line of JSON.
#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "bench/recordjson.h"

namespace {

LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != WM_COPYDATA) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    const auto* data = reinterpret_cast<const COPYDATASTRUCT*>(lParam);
    NvmlGpuRecord record;
    if (data->dwData != kCopyDataTaskData || data->cbData != sizeof(record)) {
        return TRUE;
    }
    std::memcpy(&record, data->lpData, sizeof(record));
    ReplyMessage(TRUE);
    char line[1000];
    const size_t length = RecordJson(record, line, sizeof(line));
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line, static_cast<DWORD>(length), &written, nullptr);
    return TRUE;
}

HWND MakeWindow() {
    WNDCLASSEXW description{};
    description.cbSize = sizeof(description);
    description.lpfnWndProc = &WindowProc;
    description.hInstance = GetModuleHandleW(nullptr);
    description.lpszClassName = L"BenchStub";
    RegisterClassExW(&description);
    return CreateWindowExW(0, description.lpszClassName, L"", WS_POPUP, 0, 0, 0, 0, HWND_MESSAGE,
                           nullptr, description.hInstance, nullptr);
}

}  // namespace

int main(int count, char** words) {
    const HWND window = MakeWindow();
    std::string worker = "\"" + std::string(count > 1 ? words[1] : "") + "\" --wnd=" +
                         std::to_string(static_cast<int>(reinterpret_cast<INT_PTR>(window)));
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!CreateProcessA(nullptr, worker.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process)) {
        return EXIT_FAILURE;
    }
    const auto more = [&] {
        return MsgWaitForMultipleObjects(1, &process.hProcess, FALSE, INFINITE, QS_ALLINPUT) !=
               WAIT_OBJECT_0;
    };
    while (more()) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            DispatchMessageW(&message);
        }
    }
    return EXIT_SUCCESS;
}
