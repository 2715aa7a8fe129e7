#include "tests/campaigns/faults/faultcampaign.h"

#include <atomic>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

#include "tests/campaigns/faults/runfolder.h"

namespace {

// What all threads of a campaign share.
class CCampaign {
  public:
    CCampaign(std::vector<FaultRun> runs, const FaultResult& golden, const Reporter& report)
        : m_runs(std::move(runs)), m_golden(golden), m_report(report) {}

    void Work(const CRunFolder& folder) {
        for (size_t index = m_next++; index < m_runs.size(); index = m_next++) {
            const FaultRun& run = m_runs[index];
            Count(run, JudgeFaultRun(run, folder.Run(Words(run)), m_golden));
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
    FaultResult golden = CRunFolder().Run(Words(run));
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
