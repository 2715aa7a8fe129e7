// Starting, stopping, counting and finding.
#include <cstring>

#include "sim/nvml/nvmlcall.h"
#include "sim/nvml/textanswer.h"
#include "sim/scenario/calllog.h"

namespace {

int32_t Count(const char* function, uint32_t* count) {
    return RunSystemCall({function, "", count, sizeof(*count)}, [count](NvmlMoment& moment) {
        const Scenario& scenario = moment.scenario;
        *count = scenario.deviceCount.value_or(static_cast<uint32_t>(scenario.gpus.size()));
        return kNvmlSuccess;
    });
}

int32_t Find(const char* function, uint32_t index, NvmlDevice* device) {
    return RunIndexCall({function, "", device, sizeof(*device)}, index,
                        [device](Gpu& gpu, NvmlMoment&) {
                            *device = &gpu;
                            return kNvmlSuccess;
                        });
}

struct ResultText {
    int32_t result;
    const char* text;
};

constexpr ResultText kResultTexts[] = {
    {0, "Success"},
    {1, "Uninitialized"},
    {2, "Invalid Argument"},
    {3, "Not Supported"},
    {4, "Insufficient Permissions"},
    {5, "Already Initialized"},
    {6, "Not Found"},
    {7, "Insufficient Size"},
    {8, "Insufficient External Power"},
    {9, "Driver Not Loaded"},
    {10, "Timeout"},
    {11, "Interrupt Request Issue"},
    {12, "NVML Shared Library Not Found"},
    {13, "Function Not Found"},
    {14, "Corrupted infoROM"},
    {15, "GPU is lost"},
    {16, "GPU requires reset"},
    {17, "GPU access blocked by the operating system"},
    {18, "Driver/library version mismatch"},
};

const char* TextOf(int32_t result) {
    for (const ResultText& entry : kResultTexts) {
        if (entry.result == result) {
            return entry.text;
        }
    }
    return "Unknown Error";
}

}  // namespace

int32_t nvmlInit_v2() { return StartNvml("nvmlInit_v2"); }

int32_t nvmlInit() { return StartNvml("nvmlInit"); }

int32_t nvmlShutdown() { return StopNvml(); }

const char* nvmlErrorString(int32_t result) {
    const char* text = TextOf(result);
    LogCall("nvmlErrorString(result=" + std::to_string(result) + ") = " + text);
    return text;
}

int32_t nvmlSystemGetDriverVersion(char* version, uint32_t length) {
    return RunSystemCall(
        TextCall("nvmlSystemGetDriverVersion", version, length), [=](NvmlMoment& moment) {
            return AnswerText(moment.scenario.driverVersion, moment, version, length);
        });
}

int32_t nvmlDeviceGetCount_v2(uint32_t* count) { return Count("nvmlDeviceGetCount_v2", count); }

int32_t nvmlDeviceGetCount(uint32_t* count) { return Count("nvmlDeviceGetCount", count); }

int32_t nvmlDeviceGetHandleByIndex_v2(uint32_t index, NvmlDevice* device) {
    return Find("nvmlDeviceGetHandleByIndex_v2", index, device);
}

int32_t nvmlDeviceGetHandleByIndex(uint32_t index, NvmlDevice* device) {
    return Find("nvmlDeviceGetHandleByIndex", index, device);
}
