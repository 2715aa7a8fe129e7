// A worker that sends records of a GPU as quickly as they are taken: as many as the variable
// ZORVANE_BENCH_RECORDS says. Then it ends.
#include <windows.h>

#include <cstdlib>
#include <cwchar>

#include "zorvane/wire.h"

namespace {

void Send(HWND stub, HWND window, DWORD code, void* bytes, DWORD size) {
    const COPYDATASTRUCT data{code, size, bytes};
    SendMessageTimeoutW(stub, WM_COPYDATA, reinterpret_cast<WPARAM>(window),
                        reinterpret_cast<LPARAM>(&data), SMTO_BLOCK, 1000, nullptr);
}

NvmlGpuRecord Record() {
    NvmlGpuRecord record{};
    wcscpy(record.entry, L"bench");
    record.kind = kGpuRecordDynamic;
    record.gpuCount = 1;
    record.gpuUtilizationPercent = 37;
    record.memoryUtilizationPercent = 12;
    record.temperatureCelsius = 61;
    record.fanSpeedPercent = 45;
    wcscpy(record.name, L"NVIDIA GeForce RTX 3090");
    for (uint32_t& clock : record.clockMHz) {
        clock = 1700;
    }
    record.pciBus = 1;
    record.pciDeviceId = 0x220410DE;
    memcpy(record.pciBusId, "00000000:01:00.0", 17);
    return record;
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
    NvmlGpuRecord record = Record();
    wchar_t count[16] = {};
    GetEnvironmentVariableW(L"ZORVANE_BENCH_RECORDS", count, 16);
    for (int left = _wtoi(count); left > 0; --left) {
        Send(stub, window, kCopyDataTaskData, &record, sizeof(record));
    }
    return EXIT_SUCCESS;
}
