// What one cycle of the worker costs: the NVIDIA task on the library that ProgramW6432 leads to,
// its records sent to a window of another thread, the pauses between cycles left out.
#include <windows.h>

#include <fmt/core.h>

#include <cstdlib>

#include "base/windowthread.h"
#include "bench/stopwatch.h"
#include "src/nvmlinfo/nvmlinfotask.h"
#include "src/process/msgloopprocess.h"
#include "zorvane/wire.h"

namespace {

constexpr int kCycles = 2000;

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
    const zorvane::CWindowThread stub([](UINT message, WPARAM, LPARAM) {
        return message == WM_COPYDATA ? std::optional<LRESULT>(TRUE) : std::nullopt;
    });
    const auto connected = std::make_shared<CMsgLoopProcess>();
    const std::wstring stubWord =
        L"--entry=bench --wnd=" +
        std::to_wstring(static_cast<int>(reinterpret_cast<INT_PTR>(stub.Handle())));
    connected->Init(stubWord.c_str(), nullptr);
    const auto alone = std::make_shared<CMsgLoopProcess>();

    fmt::print("{} cycles\n", kCycles);
    Measure("readings only, no stub window", task, alone);
    Measure("readings, and records taken by a window", task, connected);
    return EXIT_SUCCESS;
}
