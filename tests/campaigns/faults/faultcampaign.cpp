#include "tests/campaigns/faults/faultcampaign.h"

#include <atomic>
#include <filesystem>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

#include "base/text.h"
#include "tests/support/buildfolder.h"
#include "tests/support/childprocess.h"

namespace {

// An older Ryzen, so that virtualisation-based security is asked for, and values that do not move.
constexpr char kScenario[] = R"({
    "driverVersion": "551.86",
    "machine": {"administrator": true, "vbs": 0, "productName": "Desk",
                "windows": {"major": 10, "minor": 0, "build": 19045}},
    "gpus": [
        {"name": "one", "serial": "1562", "vbios": "90.04", "bus": 1, "deviceId": "0x268410DE",
         "memoryMiB": 8192, "utilization": {"gpu": 41, "memory": 17}, "temperature": 61,
         "fanSpeed": 33, "clocks": [1801, 1802, 1803, 1804],
         "maxClocks": [2801, 2802, 2803, 2804]},
        {"name": "two", "bus": 2, "memoryMiB": 4096, "utilization": {"gpu": 42, "memory": 18},
         "temperature": 62, "fanSpeed": null, "clocks": [1901, 1902, 1903, 1904],
         "maxClocks": [2901, 2902, 2903, 2904]}],
    "cpu": {"signature": "0x00800F11", "packageType": 2, "needsDriver": false,
            "name": "AMD Ryzen 7 1700X", "pmTable": {"temperature": 55}}})";

constexpr DWORD kPatienceMs = 120'000;

// A folder in which one run at a time takes place.
class CRunFolder {
  public:
    CRunFolder() {
        const std::filesystem::path folder = m_folder.Path();
        const std::filesystem::path sim = BuildFolder(L"sim");
        std::filesystem::create_directory(folder / L"Log");
        Copy(std::filesystem::path(BuildFolder(L"bin")) / L"Zorvane.dll");
        Copy(std::filesystem::path(BuildFolder(L"tests")) / L"faultedworker.exe");
        Copy(sim / L"Platform.dll");
        WriteFileBytes(m_folder.PathOf(L"scenario.json"), kScenario);
    }

    FaultResult Run(const FaultRun& run) const {
        Remove(m_folder.PathOf(L"Qorvella.set"));
        Remove(LogPath());
        const CChildProcess worker(m_folder.PathOf(L"faultedworker.exe"),
                                   zorvane::ToWide(Words(run)), Environment());
        FaultResult result;
        result.exitCode = worker.Wait(kPatienceMs);
        worker.Kill();
        result.output = worker.Output();
        result.log = ReadFileBytes(LogPath());
        return result;
    }

  private:
    void Copy(const std::filesystem::path& from) const {
        std::filesystem::copy_file(from, m_folder.Path() / from.filename());
    }

    // Windows closes the files of a process shortly after its end.
    static void Remove(const std::wstring& path) {
        std::error_code error;
        while (!std::filesystem::remove(path, error) && error) {
            Sleep(1);
        }
    }

    std::wstring LogPath() const { return m_folder.PathOf(L"Log\\Qorvella_HardwareDll.log"); }

    std::vector<zorvane::EnvironmentChange> Environment() const {
        return {{L"ProgramW6432", BuildFolder(L"sim") + L"\\ProgramFiles"},
                {L"ZORVANE_SIM_SCENARIO", m_folder.PathOf(L"scenario.json")}};
    }

    CTempFolder m_folder;
};

// What all threads of a campaign share.
class CCampaign {
  public:
    CCampaign(std::vector<FaultRun> runs, const FaultResult& golden, const Reporter& report)
        : m_runs(std::move(runs)), m_golden(golden), m_report(report) {}

    void Work(const CRunFolder& folder) {
        for (size_t index = m_next++; index < m_runs.size(); index = m_next++) {
            const FaultRun& run = m_runs[index];
            Count(run, JudgeFaultRun(run, folder.Run(run), m_golden));
        }
    }

    FaultFigures Figures() const {
        FaultFigures figures = m_figures;
        figures.functions = m_functions.size();
        return figures;
    }

  private:
    void Count(const FaultRun& run, const FaultVerdict& verdict) {
        const std::lock_guard guard(m_lock);
        ++m_figures.runs;
        m_figures.injected += verdict.injected;
        m_figures.notReached += verdict.injected == 0 ? 1 : 0;
        m_figures.crashes += verdict.hasCrashed ? 1 : 0;
        m_figures.hangs += verdict.hasHung ? 1 : 0;
        m_figures.findings += verdict.findings.size();
        if (verdict.injected > 0) {
            m_functions.insert(run.function);
        }
        for (const std::string& finding : verdict.findings) {
            m_report(Words(run) + ": " + finding);
        }
        constexpr size_t kProgressRuns = 250;
        if (m_figures.runs % kProgressRuns == 0) {
            m_report(std::to_string(m_figures.runs) + " of " + std::to_string(m_runs.size()) +
                     " runs");
        }
    }

    const std::vector<FaultRun> m_runs;
    const FaultResult& m_golden;
    const Reporter& m_report;
    std::atomic<size_t> m_next{0};
    std::mutex m_lock;
    FaultFigures m_figures;
    std::set<std::string> m_functions;
};

FaultResult RunWithoutFaults(RunEnding ending) {
    const FaultRun run{ending, {}, 0, false};
    FaultResult golden = CRunFolder().Run(run);
    FaultVerdict verdict = JudgeFaultRun(run, golden, golden);
    // Both tasks work, past the cycle that switches the log off.
    for (const char* text :
         {"add NvmlInfoTask\r", "add AmdSdkTask\r", "-------log off\r", "InstallDriver success."}) {
        if (golden.log.find(text) == std::string::npos) {
            verdict.findings.push_back(std::string("the log does not say \"") + text + "\"");
        }
    }
    if (!verdict.findings.empty()) {
        throw std::runtime_error("the run without faults, \"" + Words(run) +
                                 "\": " + verdict.findings.front());
    }
    return golden;
}

}  // namespace

FaultFigures RunFaultCampaign(size_t most, unsigned jobs, const Reporter& report) {
    RunWithoutFaults(RunEnding::kVanish);
    const FaultResult golden = RunWithoutFaults(RunEnding::kStop);
    const std::vector<FaultRun> runs = PlanFaultRuns(golden);
    CCampaign campaign(most == 0 ? runs : Spread(runs, most), golden, report);
    // All made before the first run: a program that is being copied while another one starts cannot
    // be started itself at once.
    const std::vector<CRunFolder> folders(jobs);
    std::vector<std::thread> threads;
    threads.reserve(jobs);
    for (const CRunFolder& folder : folders) {
        threads.emplace_back([&] { campaign.Work(folder); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return campaign.Figures();
}

std::string Summary(const FaultFigures& figures) {
    return std::to_string(figures.runs) + " runs, " + std::to_string(figures.injected) +
           " faults injected into " + std::to_string(figures.functions) + " functions; " +
           std::to_string(figures.crashes) + " crashes, " + std::to_string(figures.hangs) +
           " hangs, " + std::to_string(figures.findings) + " findings; " +
           std::to_string(figures.notReached) + " runs without the call";
}
