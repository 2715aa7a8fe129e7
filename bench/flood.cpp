// A worker that sends records of a GPU as quickly as they are taken: as many as the variable
// ZORVANE_BENCH_RECORDS says. Then it ends.
#include <windows.h>

#include <cstdlib>
#include <cwchar>

#include "bench/samplerecord.h"

namespace {

void Send(HWND stub, HWND window, DWORD code, void* bytes, DWORD size) {
    const COPYDATASTRUCT data{code, size, bytes};
    SendMessageTimeoutW(stub, WM_COPYDATA, reinterpret_cast<WPARAM>(window),
                        reinterpret_cast<LPARAM>(&data), SMTO_BLOCK, 1000, nullptr);
}

}  // namespace

int main() {
    const wchar_t* word = wcsstr(GetCommandLineW(), L"--wnd=");
    const auto stub = reinterpret_cast<HWND>(static_cast<INT_PTR>(word ? _wtoi(word + 6) : 0));
    const HWND window = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 0, 0, HWND_MESSAGE,
                                        nullptr, nullptr, nullptr);
    HelloPayload hello{};
    wcscpy(hello.entry, L"bench");
    hello.hostWnd = reinterpret_cast<uintptr_t>(window);
    Send(stub, window, kCopyDataHello, &hello, sizeof(hello));
    NvmlGpuRecord record = SampleRecord(0, 1);
    wchar_t count[16] = {};
    GetEnvironmentVariableW(L"ZORVANE_BENCH_RECORDS", count, 16);
    for (int left = _wtoi(count); left > 0; --left) {
        Send(stub, window, kCopyDataTaskData, &record, sizeof(record));
    }
    return EXIT_SUCCESS;
}
