// What one cycle of the worker costs: the NVIDIA task on the library that ProgramW6432 leads to,
// its records sent to a window of another thread, the pauses between cycles left out.
#include <windows.h>

#include <fmt/core.h>

#include <cstdlib>
#include <thread>

#include "bench/stopwatch.h"
#include "src/nvmlinfo/nvmlinfotask.h"
#include "src/process/msgloopprocess.h"
#include "zorvane/wire.h"

namespace {

constexpr int kCycles = 2000;

LRESULT CALLBACK StubWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    return message == WM_COPYDATA ? TRUE : DefWindowProcW(window, message, wParam, lParam);
}

// A window that takes every message, on a thread of its own.
class CStub {
  public:
    CStub() : m_ready(CreateEventW(nullptr, TRUE, FALSE, nullptr)), m_thread([this] { Run(); }) {
        WaitForSingleObject(m_ready, INFINITE);
    }
    ~CStub() {
        PostThreadMessageW(m_threadId, WM_QUIT, 0, 0);
        m_thread.join();
        CloseHandle(m_ready);
    }
    CStub(const CStub&) = delete;
    CStub& operator=(const CStub&) = delete;

    HWND Window() const { return m_window; }

  private:
    void Run() {
        WNDCLASSW description{};
        description.lpfnWndProc = StubWindowProc;
        description.lpszClassName = L"bench stub";
        RegisterClassW(&description);
        m_window = CreateWindowExW(0, description.lpszClassName, nullptr, 0, 0, 0, 0, 0,
                                   HWND_MESSAGE, nullptr, nullptr, nullptr);
        m_threadId = GetCurrentThreadId();
        SetEvent(m_ready);
        MSG message{};
        while (GetMessageW(&message, nullptr, 0, 0) > 0) {
            DispatchMessageW(&message);
        }
        DestroyWindow(m_window);
    }

    HANDLE m_ready;
    HWND m_window = nullptr;
    DWORD m_threadId = 0;
    std::thread m_thread;
};

void Measure(const char* what, CNvmlInfoTask& task, const std::shared_ptr<IProcess>& process) {
    const CStopwatch stopwatch;
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        task.Execute(process);
    }
    fmt::print("{:<44} {:8.3f} ms processor {:8.3f} ms wall, per cycle\n", what,
               stopwatch.ProcessorSeconds() * 1e3 / kCycles,
               stopwatch.WallSeconds() * 1e3 / kCycles);
}

}  // namespace

int main() {
    CNvmlInfoTask task;
    if (task.Init() == 0) {
        fmt::print(stderr, "bench_cycle: no NVML with a GPU below %ProgramW6432%\n");
        return EXIT_FAILURE;
    }
    const CStub stub;
    const auto connected = std::make_shared<CMsgLoopProcess>();
    const std::wstring stubWord =
        L"--entry=bench --wnd=" +
        std::to_wstring(static_cast<int>(reinterpret_cast<INT_PTR>(stub.Window())));
    connected->Init(stubWord.c_str(), nullptr);
    const auto alone = std::make_shared<CMsgLoopProcess>();

    fmt::print("{} cycles\n", kCycles);
    Measure("readings only, no stub window", task, alone);
    Measure("readings, and records taken by a window", task, connected);
    return EXIT_SUCCESS;
}
