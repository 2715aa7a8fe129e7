// Starting, stopping, counting and finding.
#include <algorithm>

#include "sim/nvml/errortext.h"
#include "sim/nvml/nvmlcall.h"
#include "sim/nvml/textanswer.h"

namespace {

int32_t Count(const char* function, NvmlEnumeration enumeration, uint32_t* count) {
    return RunSystemCall({function, "", count, sizeof(*count)}, [=](NvmlMoment& moment) {
        const Scenario& scenario = moment.scenario;
        const ptrdiff_t gpus = std::count_if(
            scenario.gpus.begin(), scenario.gpus.end(),
            [&](const Gpu& gpu) { return enumeration == NvmlEnumeration::kAll || gpu.permission; });
        *count = scenario.deviceCount.value_or(static_cast<uint32_t>(gpus));
        return kNvmlSuccess;
    });
}

int32_t Find(const char* function, NvmlEnumeration enumeration, uint32_t index,
             NvmlDevice* device) {
    return RunIndexCall({function, "", device, sizeof(*device)}, index, enumeration,
                        [device](Gpu& gpu, NvmlMoment&) {
                            if (!gpu.permission) {
                                return kNvmlNoPermission;
                            }
                            *device = &gpu;
                            return kNvmlSuccess;
                        });
}

}  // namespace

int32_t nvmlInit_v2() { return StartNvml(__func__); }

int32_t nvmlInit() { return StartNvml(__func__); }

int32_t nvmlShutdown() { return StopNvml(__func__); }

const char* nvmlErrorString(int32_t result) {
    const char* text = ErrorText(result);
    RunTextCall({__func__, "result=" + std::to_string(result), nullptr, 0}, text);
    return text;
}

int32_t nvmlSystemGetDriverVersion(char* version, uint32_t length) {
    return RunSystemCall(TextCall(__func__, version, length), [=](NvmlMoment& moment) {
        return AnswerText(moment.scenario.driverVersion, moment, version, length);
    });
}

int32_t nvmlDeviceGetCount_v2(uint32_t* count) {
    return Count(__func__, NvmlEnumeration::kAll, count);
}

// The first generation leaves out GPUs that the caller has no permission for, in its count and in
// its indices.
int32_t nvmlDeviceGetCount(uint32_t* count) {
    return Count(__func__, NvmlEnumeration::kPermitted, count);
}

int32_t nvmlDeviceGetHandleByIndex_v2(uint32_t index, NvmlDevice* device) {
    return Find(__func__, NvmlEnumeration::kAll, index, device);
}

int32_t nvmlDeviceGetHandleByIndex(uint32_t index, NvmlDevice* device) {
    return Find(__func__, NvmlEnumeration::kPermitted, index, device);
}
