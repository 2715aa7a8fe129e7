/**
 * A stub in C++ on the client library: prints ten readings and ends the worker.
 *
 *   kit_stub_cpp [PATH-OF-zorvanehost.exe [WORDS...]]
 *
 * Everything happens on one thread with a message loop, as in a program with windows.
 */
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "base/modulepath.h"
#include "base/text.h"
#include "client/workerkeeper.h"

namespace {

constexpr int kWanted = 10;

class CStub {
  public:
    explicit CStub(zorvane::KeeperOptions options)
        : m_keeper(std::move(options),
                   [this](zorvane::SessionEvent&& event) { std::visit(*this, event.body); }) {}

    // Pumps messages and the keeper's times until the worker has ended.
    int Run() {
        m_keeper.Start();
        while (m_keeper.IsActive()) {
            MsgWaitForMultipleObjectsEx(0, nullptr, Pause(), QS_ALLINPUT, MWMO_INPUTAVAILABLE);
            MSG message;
            while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
                DispatchMessageW(&message);
            }
            m_keeper.OnTime(zorvane::ReadMoment());
        }
        return m_readings;
    }

    void operator()(const zorvane::GpuReading& gpu) {
        if (HasEnough()) {
            return;
        }
        std::printf("%s  %s", gpu.pci ? gpu.pci->busId.c_str() : "?",
                    zorvane::ToUtf8(gpu.name.value_or(L"?")).c_str());
        Print("GPU ", gpu.gpuUtilizationPercent, "%");
        Print("", gpu.temperatureCelsius, "C");
        Print("fan ", gpu.fanSpeedPercent, "%");
        Count();
    }

    void operator()(const zorvane::CpuTemperature& cpu) {
        if (HasEnough()) {
            return;
        }
        std::printf("CPU  %d C", cpu.celsius);
        Count();
    }

    void operator()(const zorvane::StartFailedEvent& failed) {
        std::fprintf(stderr, "start_failed  %s\n", Describe(failed.error).c_str());
    }

    void operator()(const zorvane::NoticeEvent& notice) {
        std::fprintf(stderr, "notice  %s\n", notice.text.c_str());
    }

    void operator()(const zorvane::ExitEvent& exit) {
        std::fprintf(stderr, "worker_exit  %s\n", DescribeExit(exit.exit).c_str());
    }

    // A program that people use shows the other events too.
    template <typename Other>
    void operator()(const Other&) {}

  private:
    DWORD Pause() const {
        const auto due = m_keeper.DueTick();
        if (!due) {
            return INFINITE;
        }
        const auto left = (*due - zorvane::ReadMoment().tick).count();
        return static_cast<DWORD>(std::max<long long>(left, 0));
    }

    static void Print(const char* name, const std::optional<uint32_t>& number, const char* unit) {
        if (number) {
            std::printf("  %s%u %s", name, *number, unit);
        }
    }

    // What came before the worker was stopped is handed out still.
    bool HasEnough() const { return m_readings == kWanted; }

    void Count() {
        std::printf("\n");
        std::fflush(stdout);
        if (++m_readings == kWanted) {
            m_keeper.Stop();
        }
    }

    zorvane::CWorkerKeeper m_keeper;
    int m_readings = 0;
};

}  // namespace

int wmain(int argc, wchar_t** argv) {
    SetConsoleOutputCP(CP_UTF8);
    zorvane::KeeperOptions options;
    options.worker.host = argc > 1 ? argv[1] : zorvane::ModuleFolder(nullptr) + L"zorvanehost.exe";
    options.worker.entry = L"kit_stub in C++";
    options.worker.words.assign(argv + std::min(argc, 2), argv + argc);
    return CStub(options).Run() > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
