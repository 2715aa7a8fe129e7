#include "sim/scenario/nvmlfunctions.h"

std::string_view WithoutVersion(std::string_view entryPoint) {
    return entryPoint.substr(0, entryPoint.rfind("_v"));
}

const NvmlFunction* FindNvmlFunction(std::string_view entryPoint) {
    const std::string_view name = WithoutVersion(entryPoint);
    const std::string_view suffix = entryPoint.substr(name.size());
    for (const NvmlFunction& function : kNvmlFunctions) {
        if (function.name == name &&
            (suffix.empty() || (suffix == "_v2" && function.versions >= 2) ||
             (suffix == "_v3" && function.versions >= 3))) {
            return &function;
        }
    }
    return nullptr;
}
