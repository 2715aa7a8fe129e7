/** Which faults a campaign tries, and what it makes of one run. Functions of plain values. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/** How a run ends. */
enum class RunEnding { kStop, kVanish };

/** One run of faultedworker. */
struct FaultRun {
    RunEnding ending = RunEnding::kStop;
    /** Empty: no fault. */
    std::string function;
    uint32_t first = 0;
    bool isForGood = false;
};

/** What a run left behind. */
struct FaultResult {
    /** None: it did not end. */
    std::optional<uint32_t> exitCode;
    /** What faultedworker printed. */
    std::string output;
    /** The bytes of the log file. */
    std::string log;
};

/** What was wrong with a run. */
struct FaultVerdict {
    /** How many calls were made to fail. */
    uint32_t injected = 0;
    bool hasCrashed = false;
    bool hasHung = false;
    /** One line each. */
    std::vector<std::string> findings;
};

/** The words of its command line. */
std::string Words(const FaultRun& run);

/** Calls of a function in the output of a run. */
uint32_t CallsOf(const FaultResult& result, const std::string& function);

/** Numbers behind "open KIND" in the output of a run, in order. */
std::vector<size_t> OpenOf(const FaultResult& result, const std::string& kind);

/**
 * All runs for the functions that a run without faults called: each of the first calls, the last,
 * and a spread of those between, failing alone and for good, with each ending.
 */
std::vector<FaultRun> PlanFaultRuns(const FaultResult& golden);

/** `count` of them, evenly spread; all if there are no more. */
std::vector<FaultRun> Spread(const std::vector<FaultRun>& runs, size_t count);

/** Judges one run by the run without faults. */
FaultVerdict JudgeFaultRun(const FaultRun& run, const FaultResult& result,
                           const FaultResult& golden);
