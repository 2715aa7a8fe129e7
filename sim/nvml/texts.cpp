// Readings of a GPU that are texts.
#include "sim/nvml/textanswer.h"

namespace {

int32_t ReadText(const char* function, std::optional<std::string> Gpu::*text, NvmlDevice device,
                 char* buffer, uint32_t length) {
    return RunReading(TextCall(function, buffer, length), device,
                      [=](Gpu& gpu, NvmlMoment& moment) {
                          return AnswerText(gpu.*text, moment, buffer, length);
                      });
}

}  // namespace

int32_t nvmlDeviceGetName(NvmlDevice device, char* name, uint32_t length) {
    return RunReading(TextCall(__func__, name, length), device, [=](Gpu& gpu, NvmlMoment& moment) {
        return AnswerText(gpu.name, moment, name, length);
    });
}

int32_t nvmlDeviceGetSerial(NvmlDevice device, char* serial, uint32_t length) {
    return ReadText(__func__, &Gpu::serial, device, serial, length);
}

int32_t nvmlDeviceGetVbiosVersion(NvmlDevice device, char* version, uint32_t length) {
    return ReadText(__func__, &Gpu::vbios, device, version, length);
}

int32_t nvmlDeviceGetBoardPartNumber(NvmlDevice device, char* partNumber, uint32_t length) {
    return ReadText(__func__, &Gpu::boardPartNumber, device, partNumber, length);
}
