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

using Answer = std::function<int32_t(NvmlMoment&)>;

// The result that the scenario sets for this call, success when it sets none.
int32_t SetResult(const NvmlCall& call, Scenario& scenario, Gpu* gpu, double seconds) {
    ResultRule* rule = gpu ? gpu->results.Find(call.function) : nullptr;
    if (!rule) {
        rule = scenario.results.Find(call.function);
    }
    if (!rule) {
        return kNvmlSuccess;
    }
    CMovingValue& result = rule->size() > 1 ? (*rule)[call.clockType] : rule->front();
    return RoundToSigned(result.Read(seconds));
}

int32_t ResultOf(const NvmlCall& call, Scenario& scenario, Gpu* gpu, const Answer& answer) {
    NvmlMoment moment{scenario, SecondsSinceProcessStart()};
    const int32_t result = SetResult(call, scenario, gpu, moment.seconds);
    if (result == kNvmlSuccess) {
        return answer(moment);
    }
    if (scenario.writeOnFailure) {
        std::memset(call.out, kGarbageByte, call.outSize);
    }
    return result;
}

void Log(const NvmlCall& call, const std::string& place, const std::string& result) {
    const char* comma = place.empty() || call.arguments.empty() ? "" : ", ";
    LogCall(std::string(call.function) + "(" + place + comma + call.arguments + ") = " + result);
}

int32_t Logged(const NvmlCall& call, const std::string& place, int32_t result) {
    Log(call, place, std::to_string(result));
    return result;
}

// The index of the GPU behind a handle; the number of GPUs when there is none.
uint32_t IndexOf(const Scenario& scenario, NvmlDevice device) {
    uint32_t index = 0;
    while (index < scenario.gpus.size() && &scenario.gpus[index] != device) {
        ++index;
    }
    return index;
}

void CrashWhenDue(const NvmlCall& call, const std::string& place, const Scenario& scenario) {
    if (!scenario.crashAfterReadings && kVariantCrashAfterReadings == 0) {
        return;
    }
    if (s_readings < scenario.crashAfterReadings.value_or(kVariantCrashAfterReadings)) {
        ++s_readings;
        return;
    }
    Log(call, place, "crash");
    volatile int* volatile nowhere = nullptr;
    // cppcheck-suppress nullPointer ; the crash is what is wanted
    *nowhere = 0;
}

}  // namespace

int32_t StartNvml(const char* function) {
    const std::lock_guard guard(s_lock);
    const NvmlCall call{function, "", nullptr, 0};
    Scenario* scenario = CurrentScenario();
    if (!scenario) {
        return Logged(call, "", kNvmlUnknown);
    }
    return Logged(call, "", ResultOf(call, *scenario, nullptr, [](NvmlMoment&) {
                      ++s_starts;
                      return kNvmlSuccess;
                  }));
}

int32_t StopNvml() {
    return RunSystemCall({"nvmlShutdown", "", &s_starts, 0}, [](NvmlMoment&) {
        --s_starts;
        return kNvmlSuccess;
    });
}

int32_t RunSystemCall(const NvmlCall& call, const Answer& answer) {
    const std::lock_guard guard(s_lock);
    if (s_starts == 0) {
        return Logged(call, "", kNvmlUninitialized);
    }
    if (!call.out || !call.argumentsValid) {
        return Logged(call, "", kNvmlInvalidArgument);
    }
    return Logged(call, "", ResultOf(call, *CurrentScenario(), nullptr, answer));
}

int32_t RunReading(const NvmlCall& call, NvmlDevice device,
                   const std::function<int32_t(Gpu&, NvmlMoment&)>& answer) {
    const std::lock_guard guard(s_lock);
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
    CrashWhenDue(call, place, scenario);
    Gpu& gpu = scenario.gpus[index];
    return Logged(call, place, ResultOf(call, scenario, &gpu, [&](NvmlMoment& moment) {
                      return answer(gpu, moment);
                  }));
}

int32_t RunIndexCall(const NvmlCall& call, uint32_t index,
                     const std::function<int32_t(Gpu&, NvmlMoment&)>& answer) {
    const std::string place = "index=" + std::to_string(index);
    const std::lock_guard guard(s_lock);
    if (s_starts == 0) {
        return Logged(call, place, kNvmlUninitialized);
    }
    Scenario& scenario = *CurrentScenario();
    if (!call.out || index >= scenario.gpus.size()) {
        return Logged(call, place, kNvmlInvalidArgument);
    }
    Gpu& gpu = scenario.gpus[index];
    return Logged(call, place, ResultOf(call, scenario, &gpu, [&](NvmlMoment& moment) {
                      return answer(gpu, moment);
                  }));
}
