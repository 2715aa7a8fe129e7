// The floor of a worker's start: a window, a hello, NVML, the lines of the log that are written up
// to the first record, and that record. It obeys the stop message. With --libraries it loads the
// libraries of Windows first that a worker needs, which is most of its start.
#include <windows.h>

#include <process.h>

#include <cstdlib>
#include <cwchar>
#include <initializer_list>

#include "bench/floor.h"

namespace {

HWND s_stub = nullptr;
HWND s_window = nullptr;
CFloorLog* s_log = nullptr;

unsigned __stdcall Work(void*) {
    s_log->WriteSite("zorvaneprocess", 1, L"CZorvaneProcess::Init", 0);
    wchar_t path[MAX_PATH];
    ExpandEnvironmentStringsW(L"%ProgramW6432%\\NVIDIA Corporation\\NVSMI\\Nvml.dll", path,
                              MAX_PATH);
    FloorNvml nvml{};
    nvml.Bind(LoadLibraryW(path));
    nvml.init();
    uint32_t gpus = 0;
    nvml.deviceGetCount(&gpus);
    s_log->WriteSite("dynamicnvml", 1, L"nvmlDeviceGetCount = %d", static_cast<int>(gpus));
    s_log->WriteSite("zorvaneprocess", 1, L"add NvmlInfoTask", 0);
    s_log->WriteSite("zorvaneprocess", 1, L"sdk_flag is off...", 0);
    s_log->WriteSite("nvmlinfotask", 1, L"NVML gpu count:%d", static_cast<int>(gpus));
    s_log->WriteSite("nvmlinfotask", 1, L"NVML driver ver:", 0);
    NvmlGpuRecord record = FloorStatic(nvml, 0, gpus);
    FloorSend(s_stub, s_window, record);
    return 0;
}

void SendHello() {
    HelloPayload hello{};
    wcscpy(hello.entry, L"bench");
    hello.hostWnd = reinterpret_cast<uintptr_t>(s_window);
    const COPYDATASTRUCT data{kCopyDataHello, sizeof(hello), &hello};
    SendMessageTimeoutW(s_stub, WM_COPYDATA, reinterpret_cast<WPARAM>(s_window),
                        reinterpret_cast<LPARAM>(&data), SMTO_BLOCK, 1000, nullptr);
}

LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_CREATE) {
        s_window = window;
        CloseHandle(
            reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, Work, nullptr, 0, nullptr)));
        SendHello();
        SetTimer(window, 1, 5000, nullptr);
        return 0;
    }
    if (message == WM_COPYDATA) {
        PostQuitMessage(0);
        return TRUE;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace

int main() {
    if (wcsstr(GetCommandLineW(), L"--libraries")) {
        // The services and the registry, WMI, the command line, the settings.
        for (const wchar_t* library :
             {L"advapi32.dll", L"ole32.dll", L"oleaut32.dll", L"shell32.dll", L"shlwapi.dll"}) {
            LoadLibraryW(library);
        }
    }
    const wchar_t* word = wcsstr(GetCommandLineW(), L"--wnd=");
    s_stub = reinterpret_cast<HWND>(static_cast<INT_PTR>(word ? _wtoi(word + 6) : 0));
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    wcscpy(wcsrchr(path, L'\\'), L"\\Log\\floor.log");
    CFloorLog log(path);
    s_log = &log;
    log.WriteSite("msgloopprocess", 1, L"cmd:", 0);
    WNDCLASSEXW description{};
    description.cbSize = sizeof(description);
    description.lpfnWndProc = &WindowProc;
    description.hInstance = GetModuleHandleW(nullptr);
    description.lpszClassName = L"BenchWorker";
    RegisterClassExW(&description);
    CreateWindowExW(0, description.lpszClassName, L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr,
                    description.hInstance, nullptr);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        DispatchMessageW(&message);
    }
    return EXIT_SUCCESS;
}
