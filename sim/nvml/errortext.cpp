#include "sim/nvml/errortext.h"

namespace {

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
    {19, "In use by another client"},
    {20, "Insufficient Memory"},
    {21, "No data"},
    {22, "The requested vgpu operation is not available on target device, because ECC is enabled"},
    {23, "Insufficient Resources"},
    {24, "Requested frequency is not supported"},
    {25, "Argument version mismatch"},
    {26, "Deprecated"},
    {27, "System not ready"},
    {28, "GPU not found"},
    {29, "Resource not in valid state"},
    {30, "Reset type is not supported"},
    {999, "Unknown Error"},
};

}  // namespace

const char* ErrorText(int32_t result) {
    for (const ResultText& entry : kResultTexts) {
        if (entry.result == result) {
            return entry.text;
        }
    }
    return "Unknown Error";
}
