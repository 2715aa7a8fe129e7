#include "sim/cpu/cpuidanswer.h"

#include <cstring>

namespace {

constexpr uint32_t kVendorLeaf = 0;
constexpr uint32_t kSignatureLeaf = 0x80000001;
constexpr uint32_t kPackageTypeShift = 28;
constexpr uint32_t kPackageTypeMask = 0xFu << kPackageTypeShift;

uint32_t FourCharacters(const std::string& text, size_t position) {
    uint32_t number = 0;
    std::memcpy(&number, text.data() + position, sizeof(number));
    return number;
}

}  // namespace

zorvane::CpuidRegisters AnswerCpuid(const Cpu& cpu, uint32_t leaf,
                                    const zorvane::CpuidRegisters& real) {
    if (leaf == kVendorLeaf) {
        return {real.eax, FourCharacters(cpu.vendor, 0), FourCharacters(cpu.vendor, 8),
                FourCharacters(cpu.vendor, 4)};
    }
    if (leaf == kSignatureLeaf) {
        const uint32_t otherBits = real.ebx & ~kPackageTypeMask;
        return {cpu.signature, otherBits | cpu.packageType << kPackageTypeShift, real.ecx,
                real.edx};
    }
    return real;
}
