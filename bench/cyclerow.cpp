#include <fmt/core.h>

#include <memory>
#include <stdexcept>

#include "base/importtable.h"
#include "bench/floor.h"
#include "bench/machine.h"
#include "bench/rows.h"
#include "bench/samples.h"

namespace {

constexpr DWORD kPauseMs = 1000;
// The first cycles write more to the log than the later ones.
constexpr unsigned kFirstCycles = 20;
constexpr unsigned kRecords = 4000;

// Runs in the library's pauses, on its work thread, and leaves the pauses out: after each cycle of
// the library comes one of the floor.
class CCycles {
  public:
    CCycles(HMODULE library, unsigned gpus, HWND stub, const std::filesystem::path& folder)
        : m_library(library),
          m_gpus(gpus),
          m_samples(std::max(60u, kRecords / gpus / 4)),
          m_stub(stub),
          m_log((folder / "Log" / "floor.log").c_str()) {}

    DWORD OnPause(HANDLE quit) {
        const double end = Now();
        ++m_cycle;
        if (m_cycle == kFirstCycles) {
            m_nvml.Bind(GetModuleHandleW(L"Nvml.dll"));
        } else if (m_cycle > kFirstCycles && row.own.size() < m_samples) {
            row.own.push_back(end - m_begin);
            row.floor.push_back(
                SecondsOf([&] { FloorCycle(m_nvml, m_gpus, m_stub, quit, m_log); }));
        } else if (row.own.size() == m_samples && !m_counts) {
            m_counts = std::make_unique<CCallCounts>(m_library);
            m_counts->Begin();
        } else if (m_counts) {
            row.counts = CountsText(m_counts->End(), 1);
            m_counts.reset();
            return WAIT_OBJECT_0;
        }
        m_begin = Now();
        return WAIT_TIMEOUT;
    }

    Row row;

  private:
    const HMODULE m_library;
    const unsigned m_gpus;
    const size_t m_samples;
    const HWND m_stub;
    CFloorLog m_log;
    FloorNvml m_nvml{};
    std::unique_ptr<CCallCounts> m_counts;
    unsigned m_cycle = 0;
    double m_begin = 0;
};

CCycles* s_cycles = nullptr;

DWORD WINAPI Wait(HANDLE handle, DWORD timeoutMs) {
    return timeoutMs == kPauseMs ? s_cycles->OnPause(handle)
                                 : WaitForSingleObject(handle, timeoutMs);
}

}  // namespace

Row CycleRow(unsigned gpus) {
    const BenchMachine machine(gpus);
    const zorvane::CWindowThread stub = TakingStub();
    const HMODULE library = LoadLibraryExW((machine.folder / "Zorvane.dll").c_str(), nullptr,
                                           LOAD_WITH_ALTERED_SEARCH_PATH);
    if (!library) {
        throw std::runtime_error("Zorvane.dll cannot be loaded");
    }
    CCycles cycles(library, gpus, stub.Handle(), machine.folder);
    s_cycles = &cycles;
    zorvane::ExchangeImport(zorvane::FindImport(library, "WaitForSingleObject"),
                            reinterpret_cast<void*>(&Wait));
    const auto run = reinterpret_cast<void (*)(wchar_t*)>(
        reinterpret_cast<void*>(GetProcAddress(library, "ZorvaneProcess")));
    std::wstring words = L"--entry=bench " + WindowWord(stub.Handle());
    run(words.data());
    cycles.row.name = fmt::format("cycle, {} GPU{}", gpus, gpus == 1 ? "" : "s");
    cycles.row.goal = 1.05;
    return cycles.row;
}
