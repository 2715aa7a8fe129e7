#include "sim/scenario/nvmlfunctions.h"

#include "sim/scenario/nvmlinterface.h"

namespace {

ResultFunction FunctionOf(const NvmlEntryPoint& entry) {
    return {entry.name, entry.subject != NvmlSubject::kErrorText,
            entry.subject == NvmlSubject::kGpuClock ? kClockTypes : 1};
}

}  // namespace

std::vector<ResultFunction> NvmlFunctions() {
    std::vector<ResultFunction> functions;
    for (const NvmlEntryPoint& entry : kNvmlEntryPoints) {
        functions.push_back(FunctionOf(entry));
    }
    return functions;
}

std::vector<ResultFunction> NvmlGpuFunctions() {
    std::vector<ResultFunction> functions;
    for (const NvmlEntryPoint& entry : kNvmlEntryPoints) {
        if (entry.subject == NvmlSubject::kGpu || entry.subject == NvmlSubject::kGpuClock) {
            functions.push_back(FunctionOf(entry));
        }
    }
    return functions;
}
