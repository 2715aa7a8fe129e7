#include "tests/campaigns/otherruns.h"

#include <atomic>
#include <mutex>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "tests/campaigns/faults/runfolder.h"

namespace {

constexpr uint32_t kAccessViolation = 0xC0000005;

// One run, and what is expected of it.
struct Round {
    std::string name;
    std::string words;
    std::string scenario = kUsualMachine;
    std::wstring nvml{};
    bool crashes = false;
    // Whether every value is the usual one or missing.
    bool hasUsualValues = true;
};

std::string WithoutRecords(const std::string& output) {
    std::string rest;
    std::istringstream text(output);
    for (std::string line; std::getline(text, line);) {
        rest += line.starts_with("record ") ? "" : line + "\n";
    }
    return rest;
}

FaultVerdict Judge(const Round& round, FaultResult result, const FaultResult& golden) {
    if (round.crashes && result.exitCode == kAccessViolation) {
        // The vendor's crash ends the process; the log may end anywhere between two lines.
        result.exitCode = 0;
    } else if (round.crashes) {
        result.output += "finding it was to crash\n";
    }
    if (!round.hasUsualValues) {
        result.output = WithoutRecords(result.output);
    }
    return JudgeFaultRun({}, result, golden);
}

class CRounds {
  public:
    CRounds(std::vector<Round> rounds, const Reporter& report)
        : m_rounds(std::move(rounds)), m_report(report), m_golden(CRunFolder().Run("stop")) {
        if (!JudgeFaultRun({}, m_golden, m_golden).findings.empty()) {
            throw std::runtime_error("the run beside good neighbours is not in order");
        }
    }

    RunFigures Run(unsigned jobs) {
        std::vector<CRunFolder> folders(jobs);
        std::vector<std::thread> threads;
        threads.reserve(jobs);
        for (CRunFolder& folder : folders) {
            threads.emplace_back([&] { Work(folder); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        return m_figures;
    }

  private:
    void Work(CRunFolder& folder) {
        for (size_t index = m_next++; index < m_rounds.size(); index = m_next++) {
            const Round& round = m_rounds[index];
            folder.SetMachine(round.scenario, round.nvml);
            Count(round, Judge(round, folder.Run(round.words), m_golden));
        }
    }

    void Count(const Round& round, const FaultVerdict& verdict) {
        const std::lock_guard guard(m_lock);
        ++m_figures.runs;
        m_figures.crashes += verdict.hasCrashed ? 1 : 0;
        m_figures.hangs += verdict.hasHung ? 1 : 0;
        m_figures.findings += verdict.findings.size();
        for (const std::string& finding : verdict.findings) {
            m_report(round.name + ": " + finding);
        }
    }

    const std::vector<Round> m_rounds;
    const Reporter& m_report;
    const FaultResult m_golden;
    std::atomic<size_t> m_next{0};
    std::mutex m_lock;
    RunFigures m_figures;
};

// `replacement` in place of the first `text` in the usual machine.
std::string Changed(const std::string& text, const std::string& replacement) {
    std::string scenario = kUsualMachine;
    const size_t place = scenario.find(text);
    if (place == std::string::npos) {
        throw std::runtime_error("the usual machine has no " + text);
    }
    return scenario.replace(place, text.size(), replacement);
}

std::string WithTop(const std::string& member) {
    return Changed("\"driverVersion\"", member + ", \"driverVersion\"");
}

constexpr const char* kNvmlFunctions[] = {"nvmlInit",
                                          "nvmlShutdown",
                                          "nvmlDeviceGetCount",
                                          "nvmlDeviceGetHandleByIndex",
                                          "nvmlDeviceGetUtilizationRates",
                                          "nvmlDeviceGetMemoryInfo",
                                          "nvmlDeviceGetName",
                                          "nvmlDeviceGetTemperature",
                                          "nvmlDeviceGetPciInfo",
                                          "nvmlDeviceGetFanSpeed",
                                          "nvmlDeviceGetMaxClockInfo",
                                          "nvmlDeviceGetClock",
                                          "nvmlDeviceGetSerial",
                                          "nvmlDeviceGetVbiosVersion",
                                          "nvmlSystemGetDriverVersion"};

// Every code of NVML, and some that it has not.
std::vector<int> NvmlCodes() {
    std::vector<int> codes;
    for (int code = 1; code <= 28; ++code) {
        codes.push_back(code);
    }
    codes.insert(codes.end(), {999, 1000000, -1});
    return codes;
}

void AddBadCodes(std::vector<Round>& rounds) {
    for (const char* function : kNvmlFunctions) {
        for (const int code : NvmlCodes()) {
            for (const char* garbage : {"false", "true"}) {
                rounds.push_back(
                    {std::string(function) + " = " + std::to_string(code) + ", writing " + garbage,
                     "stop",
                     WithTop(std::string(R"("garbage": {"writeOnFailure": )") + garbage +
                             R"(}, "results": {")" + function + "\": " + std::to_string(code) +
                             "}")});
            }
        }
    }
}

void AddCrashes(std::vector<Round>& rounds) {
    for (const char* function : kNvmlFunctions) {
        rounds.push_back({std::string(function) + " crashes",
                          "stop",
                          WithTop(std::string(R"("results": {")") + function + R"(": "crash"})"),
                          {},
                          true});
    }
}

void AddMissingExports(std::vector<Round>& rounds) {
    for (const wchar_t* variant : {L"old-names", L"pci-v2", L"no-fan", L"no-temperature",
                                   L"no-init", L"no-count", L"minimal", L"not-a-library"}) {
        Round round{"NVML " + std::string(variant, variant + std::wcslen(variant)), "stop"};
        round.nvml = variant;
        rounds.push_back(round);
    }
}

void AddLies(std::vector<Round>& rounds) {
    for (const char* member :
         {R"("deviceCount": 4294967295)", R"("deviceCount": 0)", R"("deviceCount": 3)",
          R"("garbage": {"unterminatedTexts": true})", R"("garbage": {"reservedWords": true})",
          R"("garbage": {"unterminatedTexts": true, "writeOnFailure": true})"}) {
        Round round{member, "stop", WithTop(member)};
        round.hasUsualValues = false;
        rounds.push_back(round);
    }
}

void AddProcessors(std::vector<Round>& rounds) {
    for (const char* table :
         {R"({"status": -1})", R"({"status": 1})", R"({"status": 4})", R"({"status": 5})",
          R"({"status": 77})", R"({"temperature": 1e300})", R"({"temperature": -1e300})",
          R"({"temperature": 4})", R"({"temperature": 121})", R"({"temperature": 0.4})"}) {
        Round round{std::string("processor ") + table, "stop",
                    Changed(R"({"temperature": 55})", table)};
        round.hasUsualValues = false;
        rounds.push_back(round);
    }
    for (const char* member : {R"("device": false)", R"("platformInit": false)"}) {
        Round round{std::string("processor ") + member, "stop",
                    Changed(R"("needsDriver": false)", member)};
        rounds.push_back(round);
    }
}

}  // namespace

RunFigures RunStarts(size_t rounds, unsigned seed, unsigned jobs, const Reporter& report) {
    constexpr const char* kEndings[] = {"stop", "vanish", "close", "both"};
    std::mt19937 random(seed);
    std::vector<Round> planned;
    planned.reserve(rounds);
    for (size_t round = 0; round < rounds; ++round) {
        const std::string words =
            std::string(kEndings[random() % 4]) + " after " + std::to_string(1 + random() % 250);
        planned.push_back({words + ", seed " + std::to_string(seed), words});
    }
    return CRounds(std::move(planned), report).Run(jobs);
}

RunFigures RunStrangers(size_t rounds, unsigned seed, unsigned jobs, const Reporter& report) {
    std::vector<Round> planned;
    planned.reserve(rounds);
    for (size_t round = 0; round < rounds; ++round) {
        const std::string words = "stop strangers " + std::to_string(seed + round);
        planned.push_back({words, words});
    }
    return CRounds(std::move(planned), report).Run(jobs);
}

RunFigures RunNeighbours(size_t most, unsigned jobs, const Reporter& report) {
    std::vector<Round> rounds;
    AddMissingExports(rounds);
    AddLies(rounds);
    AddProcessors(rounds);
    AddCrashes(rounds);
    AddBadCodes(rounds);
    std::vector<Round> some;
    const size_t count = most == 0 || most > rounds.size() ? rounds.size() : most;
    some.reserve(count);
    for (size_t index = 0; index < count; ++index) {
        some.push_back(rounds[index * rounds.size() / count]);
    }
    return CRounds(std::move(some), report).Run(jobs);
}

RunFigures RunSoak(size_t cycles, const Reporter& report) {
    // Hello, two static records, and three messages a cycle.
    const std::string words = "stop messages " + std::to_string(3 + 3 * cycles);
    const CRunFolder folder;
    const FaultResult result = folder.Run(words);
    FaultVerdict verdict = JudgeFaultRun({}, result, result);
    const std::vector<size_t> blocks = OpenOf(result, "memory");
    const std::vector<size_t> handles = OpenOf(result, "handle");
    const size_t flushes = CallsOf(result, "OpenMutexW");
    if (blocks.size() != 2 || handles.size() != 2) {
        verdict.findings.emplace_back("the run did not tell what is open");
    } else {
        report(std::to_string(blocks[0]) + " blocks of memory in the middle, " +
               std::to_string(blocks[1]) + " at the end; " + std::to_string(handles[1]) +
               " handles for " + std::to_string(flushes) + " flushes");
        // At the end fewer are in use than in a cycle.
        if (blocks[1] > blocks[0]) {
            verdict.findings.emplace_back("memory has grown");
        }
        // The first opening found no mutex, and it was created. Besides, the event of the window's
        // creation and the driver's device stay open.
        if (handles[1] != flushes + 2) {
            verdict.findings.emplace_back("the handles are not one for each flush and two more");
        }
    }
    if (CallsOf(result, "WaitForSingleObject") < cycles) {
        verdict.findings.emplace_back("there were fewer cycles than asked for");
    }
    for (const std::string& finding : verdict.findings) {
        report(std::string(words).append(": ").append(finding));
    }
    return {1, verdict.hasCrashed ? 1u : 0u, verdict.hasHung ? 1u : 0u, verdict.findings.size()};
}

std::string Summary(const RunFigures& figures) {
    return std::to_string(figures.runs) + " runs; " + std::to_string(figures.crashes) +
           " crashes, " + std::to_string(figures.hangs) + " hangs, " +
           std::to_string(figures.findings) + " findings";
}
