// A worker for tests of the stub's side: a window, and a script on its command line. It takes the
// host's --wnd, --entry and --parent; every other word is a step, done in order on a work thread:
//
//   hello              the greeting; "hello:W" names the window W instead of its own
//   static:I  gpu:I    a static or dynamic record of GPU I of 2
//   name:TEXT          the name of the GPUs in the records that follow
//   unread:I           a dynamic record of GPU I in which nothing could be read
//   cpu:TEXT           the text under the CPU temperature's code, with its NUL; "rawcpu:" without
//   bytes:CODE:N       N zero bytes under a code
//   sender:W           further payloads claim to come from the window W
//   repeat:MS          does the steps before it again, after a pause, for ever
//   sleep:MS           a pause
//   env:NAME           exits with the value of an environment variable as its code
//   deaf               from now on the stop message is ignored
//   blind              from now on a missing stub window is ignored
//   exit:CODE          ends at once
//   crash              ends with an access violation
//
// After the last step it waits for its end: the stop message, or the stub window's disappearance,
// either with exit code 0. One that is blind ends soon after its stub's process, with 98: a test
// that fails leaves nothing behind.
#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "base/commandline.h"
#include "base/detachedthread.h"
#include "zorvane/wire.h"

namespace {

std::atomic<bool> s_deaf{false};
std::atomic<bool> s_blind{false};
HWND s_stub = nullptr;
HWND s_window = nullptr;
HWND s_sender = nullptr;
std::wstring s_entry;
std::wstring s_gpuName;

// The number behind the n-th colon, 0 when there is none.
long Number(const std::wstring& step, int n = 1) {
    size_t at = 0;
    for (int i = 0; i < n; ++i) {
        at = step.find(L':', at);
        if (at == std::wstring::npos) {
            return 0;
        }
        ++at;
    }
    return std::wcstol(step.c_str() + at, nullptr, 10);
}

HWND AsWindow(long value) { return reinterpret_cast<HWND>(static_cast<intptr_t>(value)); }

void Send(DWORD code, const void* bytes, size_t size) {
    std::vector<char> copy(static_cast<const char*>(bytes), static_cast<const char*>(bytes) + size);
    COPYDATASTRUCT data{code, static_cast<DWORD>(size), copy.data()};
    SendMessageTimeoutW(s_stub, WM_COPYDATA, reinterpret_cast<WPARAM>(s_sender),
                        reinterpret_cast<LPARAM>(&data), SMTO_BLOCK, 1000, nullptr);
}

void SetText(wchar_t (&field)[kWireTextLength], const std::wstring& text) {
    text.copy(field, kWireTextLength - 1);
}

void SendHello(const std::wstring& step) {
    HelloPayload hello{};
    SetText(hello.entry, s_entry);
    const HWND named = step == L"hello" ? s_window : AsWindow(Number(step));
    hello.hostWnd = reinterpret_cast<uint64_t>(named);
    Send(kCopyDataHello, &hello, sizeof(hello));
}

NvmlGpuRecord BareRecord(uint32_t kind, uint32_t index) {
    NvmlGpuRecord record{};
    SetText(record.entry, s_entry);
    record.kind = kind;
    record.gpuIndex = index;
    record.gpuCount = 2;
    record.fanSpeedPercent = ZORVANE_FAN_SPEED_UNKNOWN;
    return record;
}

void SendGpu(uint32_t kind, uint32_t index) {
    NvmlGpuRecord record = BareRecord(kind, index);
    record.gpuUtilizationPercent = 10 + index;
    record.memoryUtilizationPercent = 20 + index;
    record.temperatureCelsius = 50 + index;
    record.fanSpeedPercent = 30 + index;
    SetText(record.name, s_gpuName.empty() ? L"Fake GPU " + std::to_wstring(index) : s_gpuName);
    // The higher index stands at the lower bus: order by index and order by bus id differ.
    record.pciBus = 9 - index;
    record.pciDeviceId = 0x268410DE;
    const std::string busId = "00000000:0" + std::to_string(record.pciBus) + ":00.0";
    busId.copy(record.pciBusId, sizeof(record.pciBusId) - 1);
    for (uint32_t type = 0; type < kClockTypeCount; ++type) {
        record.clockMHz[type] = 1000 + type;
    }
    if (kind == kGpuRecordStatic) {
        record.totalMemoryKiB = 24ull << 20;
        SetText(record.driverVersion, L"535.98");
        for (uint32_t& clock : record.maxClockMHz) {
            clock = 2000;
        }
    }
    Send(kCopyDataTaskData, &record, sizeof(record));
}

void SendCpu(const std::wstring& step, bool terminated) {
    std::string text;
    for (const wchar_t c : step.substr(step.find(L':') + 1)) {
        text += static_cast<char>(c);
    }
    Send(kCopyDataStop, text.c_str(), text.size() + (terminated ? 1 : 0));
}

void SendZeros(const std::wstring& step) {
    const std::vector<char> zeros(static_cast<size_t>(Number(step, 2)));
    Send(static_cast<DWORD>(Number(step)), zeros.data(), zeros.size());
}

[[noreturn]] void ExitNow(long code) {
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
    std::abort();
}

[[noreturn]] void ExitWithVariable(const std::wstring& step) {
    wchar_t value[32] = {};
    GetEnvironmentVariableW(step.c_str() + step.find(L':') + 1, value, 32);
    ExitNow(std::wcstol(value, nullptr, 10));
}

void Crash() {
    // Volatile, so that the compiler cannot prove the access invalid and drop it.
    volatile uintptr_t nowhere = 8;
    *reinterpret_cast<volatile int*>(nowhere) = 1;
}

void Do(const std::wstring& step) {
    const std::wstring_view verb = std::wstring_view(step).substr(0, step.find(L':'));
    const auto index = static_cast<uint32_t>(Number(step));
    if (verb == L"hello") {
        SendHello(step);
    }
    if (verb == L"static") {
        SendGpu(kGpuRecordStatic, index);
    }
    if (verb == L"gpu") {
        SendGpu(kGpuRecordDynamic, index);
    }
    if (verb == L"name") {
        s_gpuName = step.substr(step.find(L':') + 1);
    }
    if (verb == L"unread") {
        const NvmlGpuRecord record = BareRecord(kGpuRecordDynamic, index);
        Send(kCopyDataTaskData, &record, sizeof(record));
    }
    if (verb == L"cpu") {
        SendCpu(step, true);
    }
    if (verb == L"rawcpu") {
        SendCpu(step, false);
    }
    if (verb == L"bytes") {
        SendZeros(step);
    }
    if (verb == L"sender") {
        s_sender = AsWindow(Number(step));
    }
    if (verb == L"sleep") {
        Sleep(index);
    }
    if (verb == L"env") {
        ExitWithVariable(step);
    }
    if (verb == L"deaf") {
        s_deaf = true;
    }
    if (verb == L"blind") {
        s_blind = true;
    }
    if (verb == L"exit") {
        ExitNow(Number(step));
    }
    if (verb == L"crash") {
        Crash();
    }
}

void RunScript(const std::vector<std::wstring>& steps) {
    for (size_t at = 0; at < steps.size(); ++at) {
        Do(steps[at]);
        if (!steps[at].starts_with(L"repeat:")) {
            continue;
        }
        Sleep(static_cast<DWORD>(Number(steps[at])));
        at = static_cast<size_t>(-1);
    }
}

// The word holds the process's id and the time of its creation; a test's is not reused so soon.
void EndAfter(const std::wstring& parent) {
    const HANDLE process = OpenProcess(
        SYNCHRONIZE, FALSE, static_cast<DWORD>(std::wcstoul(parent.c_str(), nullptr, 10)));
    zorvane::RunDetached([process] {
        constexpr DWORD kGraceMs = 20000;
        WaitForSingleObject(process, INFINITE);
        Sleep(kGraceMs);
        ExitNow(98);
    });
}

LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_COPYDATA) {
        const auto* data = reinterpret_cast<const COPYDATASTRUCT*>(lParam);
        if (data->dwData == kCopyDataStop && !s_deaf) {
            PostQuitMessage(0);
        }
        return TRUE;
    }
    if (message == WM_TIMER && !s_blind && !IsWindow(s_stub)) {
        PostQuitMessage(0);
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

HWND MakeWindow() {
    WNDCLASSEXW description{};
    description.cbSize = sizeof(description);
    description.lpfnWndProc = &WindowProc;
    description.hInstance = GetModuleHandleW(nullptr);
    description.lpszClassName = L"FakeWorker";
    RegisterClassExW(&description);
    return CreateWindowExW(0, description.lpszClassName, L"", WS_POPUP, 0, 0, 0, 0, nullptr,
                           nullptr, description.hInstance, nullptr);
}

}  // namespace

int main() {
    // A crash ends the process with the exception's code; no debugger is started, as Wine would.
    SetUnhandledExceptionFilter(
        [](EXCEPTION_POINTERS*) -> LONG { return EXCEPTION_EXECUTE_HANDLER; });
    std::vector<std::wstring> steps;
    std::vector<std::wstring> words = zorvane::SplitCommandLine(GetCommandLineW());
    words.erase(words.begin());
    for (const std::wstring& word : words) {
        const std::wstring value = word.substr(word.find(L'=') + 1);
        if (word.starts_with(L"--wnd=")) {
            s_stub = AsWindow(std::wcstol(value.c_str(), nullptr, 10));
        } else if (word.starts_with(L"--entry=")) {
            s_entry = value;
        } else if (word.starts_with(L"--parent=")) {
            EndAfter(value);
        } else {
            steps.push_back(word);
        }
    }

    s_window = MakeWindow();
    s_sender = s_window;
    SetTimer(s_window, 1, 50, nullptr);
    zorvane::RunDetached([steps] { RunScript(steps); });

    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        DispatchMessageW(&message);
    }
    // The script's thread may still be running: skip the runtime's clean-up.
    ExitNow(0);
}
