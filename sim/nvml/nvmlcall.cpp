#include "sim/nvml/nvmlcall.h"

#include <cstring>
#include <mutex>

#include "sim/scenario/calllog.h"
#include "sim/scenario/environment.h"
#include "sim/scenario/scenariofile.h"

namespace {

std::mutex s_lock;
uint32_t s_starts = 0;
uint32_t s_readings = 0;

using Lock = std::unique_lock<std::mutex>;
using Answer = std::function<int32_t(NvmlMoment&)>;

Outcome OutcomeOf(const NvmlCall& call, Scenario& scenario, Gpu* gpu) {
    const double seconds = SecondsSinceProcessStart();
    std::optional<Outcome> outcome;
    if (gpu && gpu->fault) {
        outcome = gpu->fault->Read(seconds);
    }
    if (!outcome && gpu) {
        outcome = gpu->results.Read(call.function, call.clockType, seconds);
    }
    if (!outcome) {
        outcome = scenario.results.Read(call.function, call.clockType, seconds);
    }
    return outcome.value_or(Outcome());
}

void Log(const NvmlCall& call, const std::string& place, const std::string& result) {
    const char* comma = place.empty() || call.arguments.empty() ? "" : ", ";
    LogCall(std::string(call.function) + "(" + place + comma + call.arguments + ") = " + result);
}

int32_t Logged(const NvmlCall& call, const std::string& place, int32_t result) {
    Log(call, place, std::to_string(result));
    return result;
}

void DisturbUnlocked(const NvmlCall& call, const std::string& place, const Outcome& outcome,
                     Lock& lock) {
    lock.unlock();
    Disturb(outcome, [&](const char* what) { Log(call, place, what); });
    lock.lock();
}

// What is left of a call once its state and arguments are checked; `place` names its GPU in the
// log.
int32_t RunAllowed(const NvmlCall& call, const std::string& place, Gpu* gpu, Lock& lock,
                   const Answer& answer) {
    Scenario& scenario = *CurrentScenario();
    const Outcome outcome = OutcomeOf(call, scenario, gpu);
    DisturbUnlocked(call, place, outcome, lock);
    if (outcome.result == kNvmlSuccess) {
        NvmlMoment moment{scenario, SecondsSinceProcessStart()};
        return Logged(call, place, answer(moment));
    }
    if (call.out && scenario.garbage.writeOnFailure) {
        std::memset(call.out, kGarbageByte, call.outSize);
    }
    return Logged(call, place, outcome.result);
}

// The index of the GPU behind a handle; the number of GPUs when there is none.
uint32_t IndexOf(const Scenario& scenario, NvmlDevice device) {
    uint32_t index = 0;
    while (index < scenario.gpus.size() && &scenario.gpus[index] != device) {
        ++index;
    }
    return index;
}

// Null when there are fewer GPUs.
Gpu* GpuAt(Scenario& scenario, uint32_t index, NvmlEnumeration enumeration) {
    for (Gpu& gpu : scenario.gpus) {
        if (enumeration == NvmlEnumeration::kPermitted && !gpu.permission) {
            continue;
        }
        if (index == 0) {
            return &gpu;
        }
        --index;
    }
    return nullptr;
}

// Counts one reading.
bool IsCrashDue(const Scenario& scenario) {
    if (!scenario.crashAfterReadings && kVariantCrashAfterReadings == 0) {
        return false;
    }
    return s_readings++ >= scenario.crashAfterReadings.value_or(kVariantCrashAfterReadings);
}

}  // namespace

int32_t StartNvml(const char* function) {
    Lock lock(s_lock);
    const NvmlCall call{function, "", nullptr, 0};
    if (!CurrentScenario()) {
        return Logged(call, "", kNvmlUnknown);
    }
    return RunAllowed(call, "", nullptr, lock, [](NvmlMoment&) {
        ++s_starts;
        return kNvmlSuccess;
    });
}

int32_t StopNvml(const char* function) {
    return RunSystemCall({function, "", &s_starts, 0}, [](NvmlMoment&) {
        --s_starts;
        return kNvmlSuccess;
    });
}

int32_t RunSystemCall(const NvmlCall& call, const Answer& answer) {
    Lock lock(s_lock);
    if (s_starts == 0) {
        return Logged(call, "", kNvmlUninitialized);
    }
    if (!call.out || !call.argumentsValid) {
        return Logged(call, "", kNvmlInvalidArgument);
    }
    return RunAllowed(call, "", nullptr, lock, answer);
}

int32_t RunReading(const NvmlCall& call, NvmlDevice device,
                   const std::function<int32_t(Gpu&, NvmlMoment&)>& answer) {
    Lock lock(s_lock);
    if (s_starts == 0) {
        return Logged(call, "", kNvmlUninitialized);
    }
    Scenario& scenario = *CurrentScenario();
    const uint32_t index = IndexOf(scenario, device);
    if (index == scenario.gpus.size()) {
        return Logged(call, "index=none", kNvmlInvalidArgument);
    }
    const std::string place = "index=" + std::to_string(index);
    if (!call.out || !call.argumentsValid) {
        return Logged(call, place, kNvmlInvalidArgument);
    }
    if (IsCrashDue(scenario)) {
        DisturbUnlocked(call, place, {.crash = true}, lock);
    }
    Gpu& gpu = scenario.gpus[index];
    return RunAllowed(call, place, &gpu, lock,
                      [&](NvmlMoment& moment) { return answer(gpu, moment); });
}

int32_t RunIndexCall(const NvmlCall& call, uint32_t index, NvmlEnumeration enumeration,
                     const std::function<int32_t(Gpu&, NvmlMoment&)>& answer) {
    const std::string place = "index=" + std::to_string(index);
    Lock lock(s_lock);
    if (s_starts == 0) {
        return Logged(call, place, kNvmlUninitialized);
    }
    Gpu* gpu = GpuAt(*CurrentScenario(), index, enumeration);
    if (!call.out || !gpu) {
        return Logged(call, place, kNvmlInvalidArgument);
    }
    return RunAllowed(call, place, gpu, lock,
                      [&](NvmlMoment& moment) { return answer(*gpu, moment); });
}

void RunTextCall(const NvmlCall& call, const char* text) {
    Lock lock(s_lock);
    if (Scenario* scenario = CurrentScenario()) {
        DisturbUnlocked(call, "", OutcomeOf(call, *scenario, nullptr), lock);
    }
    Log(call, "", text);
}
