#include "base/cpuid.h"

#include <cpuid.h>

namespace zorvane {

CpuidRegisters AskProcessor(uint32_t leaf, uint32_t subleaf) {
    CpuidRegisters answer{};
    __cpuid_count(leaf, subleaf, answer.eax, answer.ebx, answer.ecx, answer.edx);
    return answer;
}

}  // namespace zorvane
