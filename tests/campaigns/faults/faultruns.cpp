#include "tests/campaigns/faults/faultruns.h"

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

#include "client/reasons/logline.h"
#include "tests/campaigns/faults/failure.h"
#include "zorvane/wire.h"

namespace {

constexpr uint32_t kHungCode = 70;

// A function that is called so often has every call failed; of more calls those at the front, the
// last, and a spread.
constexpr uint32_t kFewCalls = 12;
constexpr uint32_t kFirstCalls = 3;
constexpr uint32_t kSpreadCalls = 9;
// Each allocation is a place of its own.
constexpr uint32_t kSpreadAllocations = 60;

// Lines of which the function makes a part; a call that fails may spoil one.
constexpr const char* kLineMakers[] = {"_snwprintf", "_localtime64", "_localtime64_s",
                                       "WideCharToMultiByte"};

// What a run finds although it is only the failure that was asked for.
struct Consequence {
    const char* function;
    const char* finding;
};

constexpr Consequence kConsequences[] = {
    // The end of the work thread was not awaited.
    {"WaitForSingleObject", "the driver's service is left"},
    {"DeleteService", "the driver's service is left"},
    {"OpenSCManagerW", "the driver's service is left"},
    {"OpenServiceW", "the driver's service is left"},
};

struct Line {
    std::string word;
    std::string rest;
};

std::vector<Line> ReadOutput(const std::string& output) {
    std::vector<Line> lines;
    std::istringstream text(output);
    for (std::string line; std::getline(text, line);) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        const size_t blank = std::min(line.find(' '), line.size());
        lines.push_back({line.substr(0, blank), line.substr(std::min(blank + 1, line.size()))});
    }
    return lines;
}

struct Called {
    std::string function;
    uint32_t calls = 0;
    uint32_t failed = 0;
};

std::vector<Called> ReadCalls(const std::string& output) {
    std::map<std::string, Called> byFunction;
    for (const Line& line : ReadOutput(output)) {
        Called called;
        if (line.word == "calls" &&
            std::istringstream(line.rest) >> called.function >> called.calls >> called.failed) {
            // What a library exports under two names, or is looked up twice, has two traps.
            Called& sum = byFunction[called.function];
            sum.function = called.function;
            sum.calls = std::max(sum.calls, called.calls);
            sum.failed += called.failed;
        }
    }
    std::vector<Called> calls;
    calls.reserve(byFunction.size());
    for (const auto& [function, called] : byFunction) {
        calls.push_back(called);
    }
    return calls;
}

std::set<uint32_t> CallsToFail(const Called& called) {
    std::set<uint32_t> calls;
    const uint32_t all = called.calls;
    const uint32_t spread = IsAllocation(called.function) ? kSpreadAllocations : kSpreadCalls;
    for (uint32_t call = 1; call <= (all <= kFewCalls ? all : kFirstCalls); ++call) {
        calls.insert(call);
    }
    calls.insert(all);
    for (uint32_t step = 1; step <= spread; ++step) {
        calls.insert(1 + static_cast<uint32_t>(uint64_t{all - 1} * step / (spread + 1)));
    }
    return calls;
}

std::vector<std::string> Records(const std::string& output) {
    std::vector<std::string> records;
    for (const Line& line : ReadOutput(output)) {
        if (line.word == "record") {
            records.push_back(line.rest);
        }
    }
    return records;
}

// Every word of a record is the one of the run without faults, or says that it could not be read.
bool IsWhatItWas(const std::string& record, const std::string& golden) {
    constexpr size_t kDigits = 8;
    static const std::string kNothing(kDigits, '0');
    static const std::string kNoFan(kDigits, 'F');
    if (record.size() != golden.size()) {
        return false;
    }
    const size_t start = record.find(' ') + 1;
    if (record.compare(0, start, golden, 0, start) != 0) {
        return false;
    }
    for (size_t at = start; at < record.size(); at += kDigits) {
        const std::string word = record.substr(at, kDigits);
        if (word != golden.substr(at, kDigits) && word != kNothing && word != kNoFan) {
            return false;
        }
    }
    return true;
}

bool IsLie(const std::string& record, const std::vector<std::string>& golden) {
    return std::none_of(golden.begin(), golden.end(),
                        [&](const std::string& good) { return IsWhatItWas(record, good); });
}

uint32_t CountTornLines(const std::string& log) {
    uint32_t torn = 0;
    std::istringstream text(log);
    for (std::string line; std::getline(text, line);) {
        const std::optional<zorvane::LogLine> parsed = zorvane::ParseLogLine(line);
        const bool whole = parsed && parsed->tag == "E" && line.ends_with('\r') && !text.eof();
        torn += whole ? 0 : 1;
    }
    return torn;
}

void JudgeEnd(const FaultResult& result, FaultVerdict& verdict) {
    verdict.hasHung = !result.exitCode || *result.exitCode == kHungCode;
    verdict.hasCrashed = !verdict.hasHung && *result.exitCode != 0;
    if (verdict.hasHung) {
        verdict.findings.emplace_back("it did not end");
    }
    if (verdict.hasCrashed) {
        std::ostringstream text;
        text << "it ended with code 0x" << std::hex << std::uppercase << *result.exitCode;
        verdict.findings.push_back(text.str());
    }
}

bool IsConsequence(const FaultRun& run, const std::string& finding) {
    return std::any_of(
        std::begin(kConsequences), std::end(kConsequences), [&](const Consequence& consequence) {
            return run.function == consequence.function && finding == consequence.finding;
        });
}

void JudgeOutput(const FaultRun& run, const FaultResult& result, FaultVerdict& verdict) {
    for (const Line& line : ReadOutput(result.output)) {
        if (line.word == "finding" && !IsConsequence(run, line.rest)) {
            verdict.findings.push_back(line.rest);
        }
        if (line.word == "thrown" &&
            !(IsAllocation(run.function) && line.rest == "std::bad_alloc")) {
            verdict.findings.push_back("an exception left the export: " + line.rest);
        }
    }
}

void JudgeRecords(const FaultResult& result, const FaultResult& golden, FaultVerdict& verdict) {
    const std::vector<std::string> good = Records(golden.output);
    for (const std::string& record : Records(result.output)) {
        if (IsLie(record, good)) {
            verdict.findings.push_back("a message is not what it was: " + record);
        }
    }
}

void JudgeLog(const FaultRun& run, const FaultResult& result, FaultVerdict& verdict) {
    const bool makesLines = std::find(std::begin(kLineMakers), std::end(kLineMakers),
                                      run.function) != std::end(kLineMakers);
    const uint32_t torn = CountTornLines(result.log);
    if (torn > (makesLines ? verdict.injected : 0)) {
        verdict.findings.push_back(std::to_string(torn) + " lines of the log are not whole");
    }
    const Failure* const failure = FindFailure(run.function);
    if (failure && failure->tells && run.first == 1 &&
        result.log.find(failure->tells) == std::string::npos) {
        verdict.findings.push_back(std::string("the log does not say \"") + failure->tells + "\"");
    }
}

}  // namespace

std::string Words(const FaultRun& run) {
    std::string words = run.ending == RunEnding::kStop ? "stop" : "vanish";
    if (!run.function.empty()) {
        words += " " + run.function + " " + std::to_string(run.first) +
                 (run.isForGood ? " always" : " once");
    }
    return words;
}

uint32_t CallsOf(const FaultResult& result, const std::string& function) {
    for (const Called& called : ReadCalls(result.output)) {
        if (called.function == function) {
            return called.calls;
        }
    }
    return 0;
}

std::vector<size_t> OpenOf(const FaultResult& result, const std::string& kind) {
    std::vector<size_t> counts;
    for (const Line& line : ReadOutput(result.output)) {
        std::istringstream rest(line.rest);
        std::string name;
        size_t count = 0;
        if (line.word == "open" && rest >> name >> count && name == kind) {
            counts.push_back(count);
        }
    }
    return counts;
}

std::vector<FaultRun> PlanFaultRuns(const FaultResult& golden) {
    std::vector<FaultRun> runs;
    for (const Called& called : ReadCalls(golden.output)) {
        const Failure* const failure = FindFailure(called.function);
        if (!failure || failure->cannotFail) {
            continue;
        }
        for (const uint32_t first : CallsToFail(called)) {
            for (const bool isForGood : {false, true}) {
                if (isForGood && !MayFailForGood(*failure)) {
                    continue;
                }
                for (const RunEnding ending : {RunEnding::kStop, RunEnding::kVanish}) {
                    runs.push_back({ending, called.function, first, isForGood});
                }
            }
        }
    }
    return runs;
}

std::vector<FaultRun> Spread(const std::vector<FaultRun>& runs, size_t count) {
    if (count >= runs.size()) {
        return runs;
    }
    std::vector<FaultRun> some;
    some.reserve(count);
    for (size_t index = 0; index < count; ++index) {
        some.push_back(runs[index * runs.size() / count]);
    }
    return some;
}

FaultVerdict JudgeFaultRun(const FaultRun& run, const FaultResult& result,
                           const FaultResult& golden) {
    FaultVerdict verdict;
    for (const Called& called : ReadCalls(result.output)) {
        verdict.injected += called.failed;
    }
    JudgeEnd(result, verdict);
    JudgeOutput(run, result, verdict);
    JudgeRecords(result, golden, verdict);
    JudgeLog(run, result, verdict);
    return verdict;
}
